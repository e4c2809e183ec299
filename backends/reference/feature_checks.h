// Stages and features a core does not have, found before any compiling
// happens or read from a module's declared capabilities.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/stage.h"
#include "api.h"
#include "core_catalogue.h"
#include "core_features.h"

namespace reference {

// Why the core cannot compile this stage with this API; empty when it can.
// opencl_version is the requested OpenCL C version in hundredths (kernels).
std::string unsupported_request(Api api, Stage stage, int opencl_version, const CoreInfo& core,
                                const CoreFeatures& features);

// The same for what a SPIR-V module declares: its version and the
// capabilities of geometry, tessellation and ray tracing. One line each.
std::vector<std::string> unsupported_module_features(Api api, const std::vector<uint32_t>& module, const CoreInfo& core,
                                                     const CoreFeatures& features);

// What the module does that no core can run, found before validation so that
// it is said plainly: an image write with a level of detail (no core offers
// mipmap image writes). One line each.
std::vector<std::string> unsupported_constructs(const std::vector<uint32_t>& module, const CoreInfo& core);

// "1.3" for 130.
std::string version_text(int hundredths);

}  // namespace reference
