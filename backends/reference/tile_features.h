// The tile-buffer features of OpenGL ES, which glslang does not know:
// framebuffer fetch (GL_EXT_shader_framebuffer_fetch and its non-coherent
// form, GL_OVYN_shader_framebuffer_fetch and _depth_stencil) and pixel local
// storage (GL_EXT_shader_pixel_local_storage). The source is rewritten into
// constructs glslang compiles, every line kept where it was, and the
// variables that stand for the tile are named for the analysis.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "analysis/stage.h"
#include "analysis/tile_variables.h"
#include "core_catalogue.h"
#include "core_features.h"

namespace reference {

// The tile extensions, in the order the core tables list them.
const std::vector<std::string>& tile_extensions();

struct TileRewrite {
    std::string source;                         // what glslang compiles
    std::map<std::string, TileKind> variables;  // stand-in variables, by name
    std::vector<std::string> errors;            // "0:LINE: 'token' : message"
    std::vector<std::string> warnings;
};

// A source that enables no tile extension comes back unchanged.
TileRewrite rewrite_tile_features(const std::string& source, Stage stage, const CoreInfo& core,
                                  const CoreFeatures& features);

}  // namespace reference
