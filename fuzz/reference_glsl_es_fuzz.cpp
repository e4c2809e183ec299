// The reference back-end's compile entry on arbitrary OpenGL ES source. The
// stage is guessed from what the text uses, so that a plain shader file is a
// useful seed and mutations can still reach every stage.
#include <cstddef>
#include <cstdint>
#include <string>

#include "reference_request.h"

namespace {

std::string stage_of(const std::string& text) {
    auto uses = [&](const char* word) { return text.find(word) != std::string::npos; };
    if (uses("local_size_x")) return "compute";
    if (uses("EmitVertex")) return "geometry";
    if (uses("layout(vertices") || uses("layout (vertices")) return "tessellation_control";
    if (uses("gl_TessCoord")) return "tessellation_evaluation";
    if (uses("gl_Position")) return "vertex";
    return "fragment";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The program hands the back-end a C string: a NUL ends the source.
    const std::string source(reinterpret_cast<const char*>(data), size);
    const std::string core = fuzz::core_for(size);
    fuzz::compile_and_check(source.c_str(), fuzz::request_options(stage_of(source.c_str()), core), core);
    return 0;
}
