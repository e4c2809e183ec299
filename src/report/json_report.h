// The JSON compile report and the pieces the list and info reports share.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "common/vocabulary.h"
#include "output/compile_output.h"
#include "report/source_lines.h"

// Compact, keys in byte order, one line and a flush. Bytes that are not valid
// UTF-8 (a file name, a back-end message) are replaced instead of throwing.
void write_json(std::ostream& out, const nlohmann::json& document);

// With `annotate`, every variant has "source_lines" (see print_compile_report).
void print_json(std::ostream& out, const CompileOutput& output, const std::string& filename,
                const std::string& source = "", const ProgramInputs* annotate = nullptr);

nlohmann::json get_json_producer_header();
nlohmann::json get_attribute_streams(const CompileOutput& output);
nlohmann::json get_variant_json(const ShaderVariant& variant, ArchitectureType architecture, SourceType source_type);
nlohmann::json map_to_json(const std::vector<float>& values, const std::function<nlohmann::json(float)>& convert);
