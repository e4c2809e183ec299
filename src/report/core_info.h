// The --info job: one core's API versions and extensions.
#pragma once

#include <ostream>
#include <string>

#include "common/vocabulary.h"
#include "compiler/compiler_manager.h"

// Throws std::runtime_error "No compiler found matching target GPU" before
// writing anything when no compiler matches.
void print_core_api_info(std::ostream& out, CompilerManager& manager, const std::string& driver,
                         const std::string& core, const std::string& revision, ReportFormat format);

// The "Language Support" section of the text form.
void print_language_info(std::ostream& out, CompilerManager& manager, const std::string& driver,
                         const std::string& core, const std::string& revision);

void print_core_api_info_json(std::ostream& out, CompilerManager& manager, const std::string& driver,
                              const std::string& core, const std::string& revision);
