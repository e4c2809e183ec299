// OpenGL ES shading language (#version 100, 300 es, 310 es, 320 es) to SPIR-V
// with glslang, in process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/stage.h"
#include "front_end.h"

namespace reference {

// The SPIR-V version the modules are given: 1.3.
constexpr uint32_t OPENGLES_MODULE_VERSION = 0x00010300;

// defines are NAME=VALUE (or NAME) texts, given to the preprocessor before
// the source. The module's entry point is "main"; its OpSource names the
// language and version the source declared, and each #extension the source
// asked for appears as an OpSourceExtension. A shader that compiles but does
// not link on its own gives neither a module nor errors, only warnings.
// `#include` (with an include extension enabled) searches include_dirs, the
// first being the source's own directory. With debug_lines the module says
// which source line each instruction came from.
FrontEndResult compile_glsl_es_source(const std::string& source, Stage stage, const std::vector<std::string>& defines,
                                      const std::vector<std::string>& include_dirs = {}, bool debug_lines = false);

// The preprocessor lines that put the defines in force.
std::string define_preamble(const std::vector<std::string>& defines);

}  // namespace reference
