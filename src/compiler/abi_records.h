// Safe copies of the records a back-end fills. A library is trusted to run,
// not to fill its records correctly: a missing array or a null text is
// reported as a KoroException_ instead of being dereferenced.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "compiler/shadex_abi.h"

using FlexiblePairs = std::vector<std::pair<std::string, std::string>>;

struct HardwareCore {
    std::string core;
    std::string revision;
};

// Copies a key/value list. A malformed list throws KoroException_(error,
// where + " : malformed " + list_name + " (...)").
FlexiblePairs read_flexible_list(const shadex_flexible_list& list, const std::string& error, const std::string& where,
                                 const std::string& list_name);

// Copies the core records of a capabilities record, in record order, with the
// same error convention.
std::vector<HardwareCore> read_hardware_cores(const shadex_capabilities& capabilities, const std::string& error,
                                              const std::string& where);
