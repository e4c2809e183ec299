// Source lines from the non-semantic shader debug information, in the form
// the rest of the back-end reads.
#pragma once

#include <cstdint>
#include <vector>

namespace reference {

// Replaces every DebugLine of NonSemantic.Shader.DebugInfo.100 by the OpLine
// it stands for (DebugNoLine by OpNoLine) and drops the set's other
// instructions and its import. The set never changes what the code does, and
// this validator refuses parts of what current front ends write in it; the
// lines are all the model wants of it. Other modules are left alone.
void lines_from_shader_debug_info(std::vector<uint32_t>& module);

}  // namespace reference
