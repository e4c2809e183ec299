// What a run of an entry reuses when its worker has run a similar entry
// before: a key for TaskQueue. Only a scheduling hint, read from the entry's
// arguments and the head of its input: a wrong guess costs time, never a
// result.
#pragma once

#include <string>

#include "suite/entries.h"

// "vulkan 450", "gles 300 es": the front end's built-in tables, one set per
// API and GLSL version; "opencl PATH": the translation of one OpenCL C file,
// which its kernels share; "" for SPIR-V and for an input that cannot be read.
std::string entry_need(const SuiteEntry& entry);
