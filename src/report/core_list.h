// The --list job: every core of the catalogue with the APIs offered for it.
#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "common/vocabulary.h"
#include "compiler/compiler_manager.h"

void print_available_cores(std::ostream& out, CompilerManager& manager, ReportFormat format);

// The text body: one line per core, grouped under architecture headings.
void print_core_summary(std::ostream& out, CompilerManager& manager, const std::set<std::string>& drivers);

// Folds compilers into per-core API sets (CompilerType values as bits);
// `core_order` records each core when first met.
void get_core_summary(const std::vector<Compiler*>& compilers, std::map<std::string, uint32_t>& api_sets,
                      std::vector<std::string>& core_order);
