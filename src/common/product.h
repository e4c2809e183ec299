// Product identity printed in the text header and the JSON producer block.
#pragma once

namespace product {

constexpr const char* NAME = "Koro Offline Compiler";
constexpr unsigned VERSION_MAJOR = 8;
constexpr unsigned VERSION_MINOR = 8;
constexpr unsigned VERSION_PATCH = 1;
constexpr const char* VERSION = "8.8.1";
constexpr const char* BUILD = "73b41e";
constexpr const char* RIGHTS = "Copyright (c) 2026 The shadex authors. All rights reserved.";

}  // namespace product
