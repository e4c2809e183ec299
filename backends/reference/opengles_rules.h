// What an OpenGL ES shader may ask of a core: a shading language version it
// offers and the extensions it has. Checked on the compiled module, whose
// OpSource and OpSourceExtension record what the source declared.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core_catalogue.h"
#include "core_features.h"

namespace reference {

struct RuleFindings {
    std::vector<std::string> errors;  // "0:LINE: 'token' : message"
    std::vector<std::string> warnings;
};

RuleFindings check_opengles_rules(const std::string& source, const std::vector<uint32_t>& module, const CoreInfo& core,
                                  const CoreFeatures& features);

// The 1-based line of the first preprocessor directive `directive` whose
// text mentions `word` (any word when empty); 1 when there is none.
int directive_line(const std::string& source, const std::string& directive, const std::string& word);

}  // namespace reference
