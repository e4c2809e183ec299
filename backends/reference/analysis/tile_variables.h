// Variables that stand for the tile buffer of a fragment: the colour, depth
// and stencil a framebuffer fetch reads, and pixel local storage. The GLSL
// front end declares them; the analysis finds them by name.
#pragma once

#include <map>
#include <string>

namespace reference {

enum class TileKind { Color, Depth, Stencil, PixelLocal };

using TileVariables = std::map<std::string, TileKind>;

}  // namespace reference
