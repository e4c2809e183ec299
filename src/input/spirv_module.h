// Word-level inspection and in-place rewriting of SPIR-V modules. Nothing
// here validates a module; every walk stays inside the buffer whatever the
// bytes. Failures are returned as non-empty texts, never thrown.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/vocabulary.h"

using SpirvEntryPoint = std::pair<SourceType, std::string>;

// Whether the bytes start as a SPIR-V module does.
bool has_spirv_magic(const Bytes& module);

// True for a SPIR-V module; stage and entry are filled only when the module
// has exactly one entry point.
bool identify_spirv(const Bytes& module, SourceType& stage, std::string& entry);

// major * 100 + minor * 10 (1.3 gives 130).
uint32_t get_spirv_version(const Bytes& module);

std::vector<SpirvEntryPoint> enumerate_spirv_entrypoints(const Bytes& module);

// Strips unsupported vendor extensions and their decorations; returns warnings.
std::vector<std::string> preprocess_spirv(Bytes& module);

std::string rewrite_spirv_spec_const_bool(Bytes& module, uint32_t location, bool value);
std::string rewrite_spirv_spec_const_int(Bytes& module, uint32_t location, int64_t value);

// Every OpString whose text is `from` gets the text `to` instead.
void rename_spirv_string(Bytes& module, const std::string& from, const std::string& to);
