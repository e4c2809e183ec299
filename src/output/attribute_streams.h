// Vertex attribute streams: decoding the back-end's "symbol:stream" lists,
// their order, and readable names for Vulkan symbols.
#pragma once

#include <string>
#include <vector>

#include "output/compile_output.h"

// Appends the attributes of a text such as "pos:0,uv:65535". Entries without
// a stream are skipped, a symbol already in `attributes` is not repeated, and
// stream 65535 means "assigned at run time" (-1). A malformed stream number
// throws the standard conversion exception.
void decode_attributes(const std::string& text, std::vector<ShaderAttribute>& attributes);

// Assigned streams first, smallest first; equal streams by symbol.
bool attribute_compare(const ShaderAttribute& a, const ShaderAttribute& b);

// "<prefix>_<id>_<name>" becomes "OpVariable %<id> '<name>'"; a symbol
// without "_" is returned as it is.
std::string decode_vulkan_attribute_symbol(const std::string& symbol);
