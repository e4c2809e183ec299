#include "driver/option_set.h"

#include <map>

#include "report/format.h"

const std::vector<std::string> VALID_CL_VERSIONS = {"1.1", "1.2", "2.0", "3.0"};

std::string valid_cl_versions_text() { return pretty_print_list(VALID_CL_VERSIONS, ", ", "or "); }

namespace {

const std::map<std::string, ReportFormat> FORMAT_WORDS = {
    {"text", ReportFormat::Text},
    {"json", ReportFormat::Json},
};

}  // namespace

std::istream& operator>>(std::istream& in, ReportFormat& format) {
    std::string word;
    in >> word;
    auto found = FORMAT_WORDS.find(word);
    if (found == FORMAT_WORDS.end()) throw TCLAP::ArgParseException("Invalid format: " + word);
    format = found->second;
    return in;
}

std::ostream& operator<<(std::ostream& out, ReportFormat format) {
    for (const auto& [word, value] : FORMAT_WORDS)
        if (value == format) return out << word;
    return out;
}

bool InputFilesArg::processArg(int* i, std::vector<std::string>& args) {
    const std::string& word = args[static_cast<size_t>(*i)];
    if (word.size() > 1 && word[0] == '-' && !TCLAP::Arg::ignoreRest()) return false;
    return TCLAP::UnlabeledMultiArg<std::string>::processArg(i, args);
}

OptionSet::OptionSet(OmbraOutput& out)
    : cmd("", ' ', "none"), opengles("", "opengles", "Target the OpenGL ES API.", false),
      vulkan("", "vulkan", "Target the Vulkan API.", false),
      opencl("", "opencl", "Target the OpenCL API (" + valid_cl_versions_text() + ").", false, "1.2", "VER"),
      vertex("v", "vertex", "Compile a vertex shader.", false),
      tess_control("t", "tessellation_control", "Compile a tessellation control shader.", false),
      tess_evaluation("e", "tessellation_evaluation", "Compile a tessellation evaluation shader.", false),
      geometry("g", "geometry", "Compile a geometry shader.", false),
      fragment("f", "fragment", "Compile a fragment shader.", false),
      compute("C", "compute", "Compile a compute shader.", false),
      kernel("k", "kernel", "Compile an OpenCL kernel.", false),
      ray_generation("", "ray_generation", "Compile a ray generation shader.", false),
      ray_any_hit("", "ray_any_hit", "Compile a ray any hit shader.", false),
      ray_closest_hit("", "ray_closest_hit", "Compile a ray closest hit shader.", false),
      ray_intersection("", "ray_intersection", "Compile a ray intersection shader.", false),
      ray_miss("", "ray_miss", "Compile a ray miss shader.", false),
      ray_callable("", "ray_callable", "Compile a ray callable shader.", false),
      spirv("", "spirv", "Compile a SPIR-V binary module.", false),
      list("l", "list", "Report the supported Ovyn GPU cores.", false),
      info("i", "info", "Report the supported API capabilities for a specific core.", false),
      output("o", "output",
             "Name of output file for report data (stdout by default). Any required intermediate "
             "directories must exist; they will not be created automatically.",
             false, "", "FILE"),
      input_files("input-files",
                  "List of input files to compile. If the input files are source files the "
                  "contents are concatenated together in the order they were specified. If the "
                  "input is a SPIR-V binary module only a single input file is allowed. Specify "
                  "'-' to read from stdin.",
                  false, "input files"),
      defines("D", "define", "Define a preprocessor macro.", false, "NAME[=VALUE]"),
      sconsts("S", "sconst", "Define a specialization constant.", false, "LOC=VALUE"),
      core("c", "core", "Name the target Ovyn GPU.", false, "default", "CORE"),
      name("n", "name", "Name the program entrypoint.", false, "", "NAME"),
      detailed("d", "detailed", "Generate a more detailed report.", false), format_values{ReportFormat::Text,
                                                                                          ReportFormat::Json},
      format_constraint(format_values),
      format("", "format", "Specify the report output format.", false, ReportFormat::Text, &format_constraint),
      include_dirs("I", "include", "Add a directory to the include search path.", false, "DIR"),
      annotate("", "annotate", "Attribute the costs to source lines.", false) {
    std::vector<TCLAP::Arg*> order = {
        &opengles, &vulkan,       &opencl, &vertex,         &tess_control, &tess_evaluation, &geometry,
        &fragment, &compute,      &kernel, &ray_generation, &ray_any_hit,  &ray_closest_hit, &ray_intersection,
        &ray_miss, &ray_callable, &spirv,  &list,           &info,         &output,          &input_files,
        &defines,  &sconsts,      &core,   &name,           &detailed,     &format,          &include_dirs,
        &annotate};
    for (TCLAP::Arg* arg : order) cmd.add(arg);
    declaration_order = order;
    cmd.setOutput(&out);
    // Destructors of locals must run on every exit path, so main handles
    // TCLAP's exceptions itself.
    cmd.setExceptionHandling(false);
    out.set_declaration_order(order);

    for (TCLAP::Arg* stage : std::initializer_list<TCLAP::Arg*>{
             &vertex, &tess_control, &tess_evaluation, &geometry, &fragment, &compute, &kernel, &ray_generation,
             &ray_any_hit, &ray_closest_hit, &ray_intersection, &ray_miss, &ray_callable, &list, &info})
        out.set_exclusive_arg(0, *stage);
    for (TCLAP::Arg* api : std::initializer_list<TCLAP::Arg*>{&opengles, &vulkan, &opencl})
        out.set_exclusive_arg(1, *api);
}

void OptionSet::parse(int argc, const char* const* argv) { cmd.parse(argc, argv); }

SourceType OptionSet::explicit_stage() const {
    const std::pair<const TCLAP::SwitchArg*, SourceType> precedence[] = {
        {&vertex, SourceType::Vertex},
        {&tess_control, SourceType::TessControl},
        {&tess_evaluation, SourceType::TessEvaluation},
        {&geometry, SourceType::Geometry},
        {&fragment, SourceType::Fragment},
        {&compute, SourceType::Compute},
        {&kernel, SourceType::Kernel},
        {&ray_generation, SourceType::RayGeneration},
        {&ray_any_hit, SourceType::RayAnyHit},
        {&ray_closest_hit, SourceType::RayClosestHit},
        {&ray_intersection, SourceType::RayIntersection},
        {&ray_miss, SourceType::RayMiss},
        {&ray_callable, SourceType::RayCallable},
    };
    for (const auto& [arg, stage] : precedence)
        if (arg->getValue()) return stage;
    return SourceType::None;
}
