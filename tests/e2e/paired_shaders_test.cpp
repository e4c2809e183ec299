// The cost model's regression net: two versions of one program and the
// relation a shader author expects between their figures, checked on one
// core of every architecture through the real program.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include <nlohmann/json.hpp>

#include "e2e/harness.h"

using nlohmann::json;

namespace {

const std::vector<std::string> EVERY_ARCHITECTURE = {"Koro-L380", "Koro-N22", "Koro-N68", "Koro N1"};
const std::vector<std::string> PELION_AND_LATER = {"Koro-N68", "Koro N1"};
// The cores after Tarsel, whose reports carry the fragment properties.
const std::vector<std::string> OSTREM_AND_LATER = {"Koro-N22", "Koro-N68", "Koro N1"};
constexpr double UNBOUNDED = std::numeric_limits<double>::infinity();

struct Version {
    std::string file;  // its name gives the stage
    std::string source;
    std::vector<std::string> args = {};  // besides -c CORE and the file
};

// What one run reported, read from the JSON report.
struct Figures {
    int status = -1;
    json shader;  // shaders[0]; null when the run printed no report
    std::vector<std::string> errors;

    bool compiled() const { return status == 0 && shader.is_object(); }
    const json* variant(const std::string& name = "") const {
        if (shader.is_object())
            for (const json& v : shader["variants"])
                if (name.empty() || v["name"] == name) return &v;
        return nullptr;
    }
    // A pipe's figure on a path ("total_cycles", "shortest_path_cycles",
    // "longest_path_cycles"); "A" is the arithmetic total; an unbounded path is
    // infinite; a pipe the core does not report is NaN.
    double cycles(const std::string& pipe, const std::string& path = "total_cycles") const {
        const json* v = variant();
        if (!v) return std::nan("");
        const json& pipes = (*v)["performance"]["pipelines"];
        for (size_t index = 0; index < pipes.size(); ++index) {
            const std::string name = pipes[index];
            if (name == pipe || (pipe == "A" && (name == "arith_total" || name == "arithmetic"))) {
                const json& value = (*v)["performance"][path]["cycle_count"][index];
                return value.is_null() ? UNBOUNDED : value.get<double>();
            }
        }
        return std::nan("");
    }
    json property(const std::string& name) const {
        for (const json* list :
             {variant() ? &(*variant())["properties"] : nullptr, shader.is_object() ? &shader["properties"] : nullptr})
            if (list)
                for (const json& p : *list)
                    if (p["name"] == name) return p["value"];
        return json();
    }
};

// Whether the relation holds between the figures of A and B (B is empty,
// status -1, for a relation about one version). A failure shows both reports.
using Relation = std::function<bool(const Figures& a, const Figures& b)>;

struct Case {
    const char* name;
    Version a;
    Version b;  // may be empty: the relation is about one version
    Relation holds;
    std::vector<std::string> cores = EVERY_ARCHITECTURE;
};

// B costs more than A on a pipe (and path).
Relation dearer(const std::string& pipe, const std::string& path = "total_cycles") {
    return [=](const Figures& a, const Figures& b) {
        return a.compiled() && b.compiled() && b.cycles(pipe, path) > a.cycles(pipe, path);
    };
}

// B costs k times A on a pipe (and path).
Relation times(double k, const std::string& pipe, const std::string& path) {
    return [=](const Figures& a, const Figures& b) {
        const double x = a.cycles(pipe, path), y = b.cycles(pipe, path);
        return a.compiled() && b.compiled() && x > 0 && std::fabs(y - k * x) < 1e-6 * std::max(1.0, y);
    };
}

// The same figures on every pipe and path of every variant, and (unless only
// the cycles are asked for) the same registers.
Relation same_cost(bool registers = true) {
    return [=](const Figures& a, const Figures& b) {
        if (!a.compiled() || !b.compiled() || a.shader["variants"].size() != b.shader["variants"].size()) return false;
        for (size_t v = 0; v < a.shader["variants"].size(); ++v)
            for (const char* key : {"name", "performance"})
                if (a.shader["variants"][v][key] != b.shader["variants"][v][key]) return false;
        for (const char* property : {"work_registers_used", "uniform_registers_used", "stack_size"})
            if (registers && a.property(property) != b.property(property)) return false;
        return true;
    };
}

// A condition on B alone (or on A alone when there is no B).
Relation that(std::function<bool(const Figures&)> check) {
    return [=](const Figures& a, const Figures& b) { return check(b.status == -1 ? a : b); };
}

Relation property_is(const std::string& name, const json& value) {
    return that([=](const Figures& f) { return f.compiled() && f.property(name) == value; });
}

Relation one_error_saying(const std::string& piece) {
    return that(
        [=](const Figures& f) { return f.status == 1 && f.errors.size() == 1 && contains(f.errors[0], piece); });
}

const std::string ES_FRAGMENT_HEAD = "#version 310 es\nprecision highp float;\nlayout(location = 0) out vec4 color;\n";

std::string es_fragment(const std::string& declarations, const std::string& body) {
    return ES_FRAGMENT_HEAD + declarations + "\nvoid main() {\n" + body + "\n}\n";
}

std::string taps(int count) {
    return es_fragment("uniform sampler2D s;\nin vec2 uv;",
                       "vec4 acc = vec4(0.0);\nfor (int i = 0; i < " + std::to_string(count) +
                           "; ++i) acc += texture(s, uv + float(i) * 0.01);\ncolor = acc;");
}

const std::string SPEC_CONSTANTS =
    "#version 450\nlayout(constant_id = 3) const bool USE_DETAIL = false;\n"
    "layout(set = 0, binding = 0) uniform sampler2D base;\nlayout(set = 0, binding = 1) uniform sampler2D detail;\n"
    "layout(location = 0) in vec2 uv;\nlayout(location = 0) out vec4 color;\nvoid main() {\n"
    "    vec4 acc = texture(base, uv);\n    if (USE_DETAIL) acc *= texture(detail, uv * 8.0);\n    color = acc;\n}\n";

std::string vertex_weights(const std::string& sum) {
    return "#version 310 es\nin vec4 a_position;\nin vec4 a_w;\nout float v_w;\nvoid main() {\n" + sum +
           "\ngl_Position = a_position;\n}\n";
}

const std::string CONSTANT_TABLE =
    "#version 450\nlayout(local_size_x = 64) in;\nlayout(std430, binding = 0) buffer Out { ivec2 o[]; };\n"
    "const ivec2 T[8] = ivec2[8](ivec2(1, 2), ivec2(3, 4), ivec2(5, 6), ivec2(7, 8),\n"
    "                            ivec2(9, 10), ivec2(11, 12), ivec2(13, 14), ivec2(15, 16));\n"
    "void main() { uint i = gl_GlobalInvocationID.x; o[i] = T[i & 7u]; }\n";

const std::string VULKAN = "--vulkan";

std::string with_extension(const std::string& extension, const std::string& declarations, const std::string& body) {
    return "#version 310 es\n#extension " + extension + " : require\nprecision mediump float;\n" + declarations +
           "\nvoid main() {\n" + body + "\n}\n";
}

const std::string PIXEL_LOCAL = "GL_EXT_shader_pixel_local_storage";
const std::string PLS_BLOCK =
    "__pixel_localEXT FragData {\n  layout(rgba8) highp vec4 colour;\n  layout(r32f) highp float depth;\n} pls;";

// Loads and stores of the tile cost load/store messages, and the property says so.
Relation reads_tile(const std::string& property) {
    return [=](const Figures& a, const Figures& b) {
        return dearer("load_store")(a, b) && property_is(property, true)(a, b);
    };
}

const Case CASES[] = {
    // What a shader author expects of any cost model.
    {"PowExpAndSinGoToTheSfu",
     {"a.frag", es_fragment("in vec4 v;", "color = v * v.yzwx;")},
     {"b.frag", es_fragment("in vec4 v;", "color = pow(v, v.yzwx) + exp(v) + sin(v);")},
     dearer("arith_sfu"),
     PELION_AND_LATER},
    {"IntegerDivideCostsMoreThanMultiply",
     {"a.frag", es_fragment("flat in ivec4 i;", "color = vec4(i * i.yzwx);")},
     {"b.frag", es_fragment("flat in ivec4 i;", "color = vec4(i / i.yzwx);")},
     dearer("A")},
    {"DynamicIndexingGoesToTheStack",
     {"a.frag", es_fragment("flat in int k;\nin vec4 v;",
                            "vec4 t[8]; for (int i = 0; i < 8; ++i) t[i] = v * float(i); color = t[3];")},
     {"b.frag", es_fragment("flat in int k;\nin vec4 v;",
                            "vec4 t[8]; for (int i = 0; i < 8; ++i) t[i] = v * float(i); color = t[k & 7];")},
     [](const Figures& a, const Figures& b) {
         return a.compiled() && b.compiled() && a.property("stack_size") == 0 &&
                b.property("stack_size").get<int>() > 0;
     }},
    {"UnequalBranchesGiveShortestBelowLongest",
     {"a.frag", es_fragment("uniform sampler2D s;\nin vec2 uv;\nflat in int k;",
                            "color = vec4(0.0);\nif (k > 0) color = texture(s, uv) * texture(s, uv * 2.0);")},
     {},
     that([](const Figures& f) {
         return f.cycles("texture", "shortest_path_cycles") < f.cycles("texture", "longest_path_cycles");
     })},
    {"DiscardModifiesCoverage",
     {"a.frag", es_fragment("in vec4 v;", "color = v;")},
     {"b.frag", es_fragment("in vec4 v;", "if (v.a < 0.5) discard;\ncolor = v;")},
     property_is("modifies_coverage", true),
     OSTREM_AND_LATER},
    {"DepthWriteUpdatesLate",
     {"a.frag", es_fragment("in vec4 v;", "color = v;")},
     {"b.frag", es_fragment("in vec4 v;", "color = v;\ngl_FragDepth = v.z;")},
     property_is("uses_late_zs_update", true),
     OSTREM_AND_LATER},
    {"PositionOnlyInputsGoToThePositionStream",
     {"a.vert",
      "#version 310 es\nin vec4 a_position;\nin vec4 a_colour;\nout vec4 v_colour;\n"
      "void main() { v_colour = a_colour; gl_Position = a_position; }\n"},
     {},
     that([](const Figures& f) {
         return f.compiled() && f.shader["attribute_streams"] == json::parse(R"({
             "position": [{"location": null, "symbol": "a_position"}],
             "nonposition": [{"location": null, "symbol": "a_colour"}]})");
     }),
     PELION_AND_LATER},

    // Specialisation constants are frozen at this compile's values and folded.
    {"SpecialisationConstantsAreFoldedAtTheirDefaults",
     {"a.frag", SPEC_CONSTANTS, {VULKAN}},
     {},
     that([](const Figures& f) {
         return f.compiled() && f.cycles("texture") == f.cycles("texture", "shortest_path_cycles") &&
                f.cycles("texture", "shortest_path_cycles") == f.cycles("texture", "longest_path_cycles");
     }),
     OSTREM_AND_LATER},
    {"ASpecialisationConstantTurnsWorkOn",
     {"a.frag", SPEC_CONSTANTS, {VULKAN}},
     {"b.frag", SPEC_CONSTANTS, {VULKAN, "-S", "3=true"}},
     dearer("texture"),
     OSTREM_AND_LATER},

    // An input is fetched once per component, however the source spells it.
    {"AnAttributeReadComponentByComponentCostsOneFetch",
     {"a.vert", vertex_weights("vec4 w = a_w; v_w = w.x + w.y + w.z + w.w;")},
     {"b.vert", vertex_weights("v_w = a_w.x + a_w.y + a_w.z + a_w.w;")},
     same_cost(false)},

    // A constant table is a table in constant memory.
    {"AConstantTableNeedsNoStack",
     {"a.comp", CONSTANT_TABLE, {VULKAN}},
     {},
     property_is("stack_size", 0),
     OSTREM_AND_LATER},

    // Counted loops: paths are trip count x body; unknown counts are unbounded.
    {"AFortyTapLoopCostsFiveTimesTheEightTap",
     {"a.frag", taps(8)},
     {"b.frag", taps(40)},
     times(5, "texture", "longest_path_cycles")},
    {"ACountedLoopHasEqualPaths", {"a.frag", taps(40)}, {}, that([](const Figures& f) {
         return f.cycles("texture", "shortest_path_cycles") == f.cycles("texture", "longest_path_cycles") &&
                !std::isinf(f.cycles("texture", "longest_path_cycles"));
     })},
    {"NestedCountedLoopsMultiply",
     {"a.frag", taps(20)},
     {"b.frag", es_fragment("uniform sampler2D s;\nin vec2 uv;",
                            "vec4 acc = vec4(0.0);\nfor (int i = 0; i < 4; ++i) for (int j = 0; j < 5; ++j)\n"
                            "acc += texture(s, uv + float(i * 5 + j) * 0.01);\ncolor = acc;")},
     times(1, "texture", "longest_path_cycles")},
    {"ALoopOfUnknownLengthIsUnbounded",
     {"a.frag",
      es_fragment(
          "uniform sampler2D s;\nuniform int n;\nin vec2 uv;",
          "vec4 acc = vec4(0.0);\nfor (int i = 0; i < n; ++i) acc += texture(s, uv * float(i));\ncolor = acc;")},
     {},
     that([](const Figures& f) { return std::isinf(f.cycles("texture", "longest_path_cycles")); })},
    {"AnEndlessLoopIsUnboundedButNotFree",
     {"a.comp",
      "#version 310 es\nlayout(local_size_x = 1) in;\nlayout(std430, binding = 0) buffer B { uint n[]; };\n"
      "void main() { uint i = 0u; for (;;) { n[i] += 1u; i = n[i]; } }\n"},
     {},
     that([](const Figures& f) {
         return std::isinf(f.cycles("load_store", "longest_path_cycles")) && f.cycles("load_store") > 0;
     }),
     OSTREM_AND_LATER},

    // Uniform registers: the surplus beyond the file is read from memory.
    {"UniformsBeyondTheRegisterFileAreLoaded",
     {"a.frag", es_fragment("uniform vec4 u_k[4];\nin vec4 v;",
                            "vec4 acc = v;\nfor (int i = 0; i < 4; ++i) acc += u_k[i] * v;\ncolor = acc;")},
     {"b.frag", es_fragment("uniform vec4 u_k[24];\nin vec4 v;",
                            "vec4 acc = v;\nfor (int i = 0; i < 24; ++i) acc += u_k[i] * v;\ncolor = acc;")},
     dearer("load_store"),
     {"Koro-L380"}},

    // OpenCL kernels: arguments are uniform, nothing varies, a select is a select.
    {"KernelArgumentsUseUniformRegisters",
     {"k.cl",
      "kernel void k(global float* x, global float* y, float a) { int i = get_global_id(0); y[i] = a * x[i] + y[i]; "
      "}\n",
      {"-n", "k"}},
     {},
     that([](const Figures& f) { return f.compiled() && f.property("uniform_registers_used").get<int>() > 0; })},
    {"KernelsHaveNoVaryingPipe",
     {"k.cl", "kernel void k(global float* y) { y[get_global_id(0)] = 1.0f; }\n", {"-n", "k"}},
     {},
     that([](const Figures& f) { return f.compiled() && std::isnan(f.cycles("varying")); }),
     PELION_AND_LATER},
    {"AVectorSelectOnOneConditionCostsWhatIfElseCosts",
     {"k.cl",
      "kernel void k(global float2* a, int c, float x) { float2 v; if (c) v = (float2)(1.0f, 2.0f); "
      "else v = (float2)(x, 4.0f); *a = v; }\n",
      {"-n", "k"}},
     {"k.cl",
      "kernel void k(global float2* a, int c, float x) { *a = c ? (float2)(1.0f, 2.0f) : (float2)(x, 4.0f); }\n",
      {"-n", "k"}},
     same_cost()},
    {"AnImageWriteWithALevelOfDetailIsRefused",
     {"k.cl",
      "kernel void k(write_only image2d_t img, float4 c) { write_imagef(img, (int2)(0, 0), 1, c); }\n",
      {"-n", "k", "--opencl", "3.0"}},
     {},
     one_error_saying("Image writes with a level of detail")},

    // Variants.
    {"APositionOnlyVertexShaderHasNoVaryingVariant",
     {"a.vert", "#version 310 es\nin vec4 a_position;\nvoid main() { gl_Position = a_position * 2.0; }\n"},
     {},
     that([](const Figures& f) { return f.compiled() && !f.variant("Varying"); }),
     PELION_AND_LATER},

    // Tile-buffer features of OpenGL ES.
    {"AnInoutOutputReadsTheColourBuffer",
     {"a.frag", with_extension("GL_EXT_shader_framebuffer_fetch", "out vec4 color;", "color = vec4(0.5);")},
     {"b.frag", with_extension("GL_EXT_shader_framebuffer_fetch", "inout vec4 color;", "color = color * 0.5;")},
     reads_tile("reads_color_buffer"),
     OSTREM_AND_LATER},
    {"TheLastFragmentColourIsReadFromTheTile",
     {"a.frag", with_extension("GL_OVYN_shader_framebuffer_fetch", "out vec4 color;", "color = vec4(0.5);")},
     {"b.frag",
      with_extension("GL_OVYN_shader_framebuffer_fetch", "out vec4 color;", "color = gl_LastFragColorOVYN * 0.5;")},
     reads_tile("reads_color_buffer"),
     OSTREM_AND_LATER},
    {"FetchingDepthAndStencilMakesTheUpdateLate",
     {"a.frag",
      with_extension("GL_OVYN_shader_framebuffer_fetch_depth_stencil", "out vec4 color;", "color = vec4(0.5);")},
     {"b.frag", with_extension("GL_OVYN_shader_framebuffer_fetch_depth_stencil", "out vec4 color;",
                               "color = vec4(gl_LastFragDepthOVYN, float(gl_LastFragStencilOVYN), 0.0, 1.0);")},
     reads_tile("uses_late_zs_update"),
     OSTREM_AND_LATER},
    {"PixelLocalStorageIsReadAndWrittenOnTheTile",
     {"a.frag", with_extension(PIXEL_LOCAL, PLS_BLOCK, "")},
     {"b.frag", with_extension(PIXEL_LOCAL, PLS_BLOCK, "pls.colour *= 0.5;\npls.depth += 1.0;")},
     reads_tile("reads_color_buffer"),
     OSTREM_AND_LATER},
    {"PixelLocalStorageNeedsASecondGenerationCore",
     {"a.frag", with_extension(PIXEL_LOCAL, PLS_BLOCK, "pls.depth = 1.0;")},
     {},
     one_error_saying("0:2: '#extension' : extension not supported by Koro-L380"),
     {"Koro-L380"}},
    {"PixelLocalStorageWritesExcludeFragmentOutputs",
     {"a.frag", with_extension(PIXEL_LOCAL, PLS_BLOCK + "\nout vec4 color;", "pls.depth = 1.0;\ncolor = vec4(1.0);")},
     {},
     one_error_saying("0:8: 'out' : a shader that writes pixel local storage"),
     {"Koro-N68"}},
    {"ErrorsAfterATileBlockKeepTheirLines",
     {"a.frag", with_extension(PIXEL_LOCAL, PLS_BLOCK, "pls.depth = missing;")},
     {},
     one_error_saying("0:9: 'missing' : undeclared identifier"),
     {"Koro-N68"}},
    {"TileExtensionsAreForFragmentShaders",
     {"a.vert",
      "#version 310 es\n#extension GL_OVYN_shader_framebuffer_fetch : require\nin vec4 p;\nvoid main() { gl_Position = "
      "p; }\n"},
     {},
     one_error_saying("is only available in fragment shaders"),
     {"Koro-N68"}},

    // Front-end answers.
    {"AnUnknownExtensionIsOneError",
     {"a.frag",
      "#version 310 es\n#extension GL_FOO : require\nprecision mediump float;\nout vec4 c;\nvoid main() { c = "
      "vec4(1.0); }\n"},
     {"b.frag",
      "#version 450\n#extension GL_FOO : require\nlayout(location = 0) out vec4 c;\nvoid main() { c = vec4(1.0); }\n",
      {VULKAN}},
     [](const Figures& a, const Figures& b) {
         const Relation refused = one_error_saying("extension not supported: GL_FOO");
         return refused(a, {}) && refused(b, {});
     },
     {"Koro-N68"}},
};

// Test listings name a case, not its bytes.
void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

// A run for a failure message.
std::string describe(const Figures& f) {
    return json{{"status", f.status}, {"errors", f.errors}, {"shader", f.shader}}.dump();
}

class PairedShaders : public ::testing::TestWithParam<Case> {
protected:
    TempDir files;

    Figures analyse(const Version& version, const std::string& core, const std::string& tag) {
        std::vector<std::string> args = {"-c", core, "--format", "json"};
        args.insert(args.end(), version.args.begin(), version.args.end());
        args.push_back(files.write(tag + "-" + version.file, version.source));
        RunResult result = run_shadex(args);
        Figures figures;
        figures.status = result.status;
        json report = json::parse(result.out, nullptr, false);
        if (!report.is_discarded() && !report.value("shaders", json::array()).empty()) {
            const json& shader = report["shaders"][0];
            for (const json& error : shader.value("errors", json::array())) figures.errors.push_back(error);
            if (shader.contains("variants")) figures.shader = shader;
        } else if (result.status != 0) {
            figures.errors.push_back(result.err);
        }
        return figures;
    }
};

TEST_P(PairedShaders, Hold) {
    const Case& c = GetParam();
    std::vector<std::string> failures;
    for (const std::string& core : c.cores) {
        const Figures a = analyse(c.a, core, "a");
        const Figures b = c.b.file.empty() ? Figures{} : analyse(c.b, core, "b");
        if (!c.holds(a, b)) failures.push_back(core + ":\nA " + describe(a) + "\nB " + describe(b));
    }
    for (const std::string& failure : failures) ADD_FAILURE() << failure;
}

INSTANTIATE_TEST_SUITE_P(CostModel, PairedShaders, ::testing::ValuesIn(CASES),
                         [](const ::testing::TestParamInfo<Case>& param) { return std::string(param.param.name); });

}  // namespace
