// Where `#include` looks for the files a source names: the directory of the
// input, then the -I directories, in command-line order.
#pragma once

#include <string>
#include <vector>

#include "common/vocabulary.h"

// True when some line of the source is an `#include` directive (a cheap
// textual scan: a directive inside a comment counts too, which only costs
// a longer search path).
bool has_include_directive(const Bytes& source);

// The search directories for a source read from `first_input` ("-" for
// standard input, whose includes resolve from the current directory), and
// the -I directories. Empty when the source includes nothing and no -I was
// given, so that such runs are exactly what they were without the option.
// Throws std::invalid_argument naming an -I directory that does not exist.
std::vector<std::string> include_search_dirs(const Bytes& source, const std::string& first_input,
                                             const std::vector<std::string>& include_dirs);
