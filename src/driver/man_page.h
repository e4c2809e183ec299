// The shadex(1) manual page, written from the option table the program
// declares, so that the page and --help never drift apart.
#pragma once

#include <ostream>

#include "driver/option_set.h"

void write_man_page(std::ostream& out, const OptionSet& options);
