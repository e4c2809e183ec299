// Compiles as the back-end receives them and as the program reads back what
// it answers: the options sent for each API and stage, the SPIR-V module after
// the program's edits, the checks made once a compiler is chosen, and the
// normalised statistics. Every record a back-end hands out must come back to
// it exactly once, whatever the run's outcome.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <tuple>

#include "e2e/harness.h"
#include "e2e/scripted_install.h"

namespace {

using nlohmann::json;
using Words = std::vector<uint32_t>;

const std::string LIBRARY = "libKoro-Nxx_r40p0-00rel0.so";

const std::string GRAPHICS = R"(meta flexible_version | 3.0.0
meta compiler_type | openglessl
meta spirv | true
meta openglessl_version | 300 310 320
meta variant | per_fragment_shader
core Koro-N68 | r0p0
core Koro-L380 | r0p0
core Koro-L220 | r0p0
)";

const std::string OPENCL = R"(meta flexible_version | 4.1.0
meta compiler_type | opencl
core Koro-N68 | r0p0
core Koro-N22 | r0p0
core_cap Koro-N68 | opencl_c_version | 1.2 3.0
core_cap Koro-N22 | opencl_c_version | 120,200
)";

// A private shadex with scripted back-ends beside it and a directory for inputs.
class Backends {
public:
    explicit Backends(const std::string& graphics_answers = "") {
        libraries.push_back(add_backend(install, "graphics", LIBRARY, GRAPHICS + graphics_answers));
        libraries.push_back(add_backend(install, "opencl", LIBRARY, OPENCL));
    }
    void write(const std::string& name, const std::string& content) const { files.write(name, content); }
    // Starts every log afresh, so each run is checked on its own.
    RunResult run(const std::vector<std::string>& args) {
        for (const std::string& library : libraries) std::ofstream(library + ".log");
        RunOptions options;
        options.working_dir = files.path();
        RunResult result = install.run(args, options);
        for (const std::string& library : libraries) expect_released_once(read_scripted_log(library));
        return result;
    }
    // Compile calls logged by the graphics (0) or OpenCL (1) library.
    std::vector<std::string> compiles(size_t library = 0) const {
        return calls_of(read_scripted_log(libraries.at(library)), "compile");
    }

private:
    Install install;
    TempDir files;
    std::vector<std::string> libraries;
};

// The option fields of the only compile call, joined by spaces.
std::string options_sent(const std::vector<std::string>& compiles) {
    if (compiles.size() != 1) return std::to_string(compiles.size()) + " compile calls";
    const std::string& line = compiles[0];
    size_t start = line.find('\t', line.find("\trevision=") + 1) + 1;
    std::string options = line.substr(start, line.find("\tsource_length=") - start);
    std::replace(options.begin(), options.end(), '\t', ' ');
    return options;
}

// SPIR-V building: an instruction is its opcode and operands behind the word
// count; a literal string is its bytes and a NUL in whole words.
Words operator+(Words a, const Words& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Words op(uint32_t opcode, const Words& operands) {
    return Words{static_cast<uint32_t>(operands.size() + 1) << 16 | opcode} + operands;
}
Words literal(const std::string& text) {
    Words words(text.size() / 4 + 1, 0);
    std::memcpy(words.data(), text.data(), text.size());
    return words;
}
Words entry(uint32_t model, const std::string& name) { return op(15, Words{model, 1} + literal(name)); }
// SpecId 3 on a bool constant (opcode 48 true, 49 false), SpecId 4 on a 32-bit int.
Words specialization_constants(uint32_t bool_opcode, uint32_t int_value) {
    return op(71, {7, 1, 3}) + op(71, {8, 1, 4}) + op(20, {2}) + op(21, {3, 32, 1}) + op(bool_opcode, {2, 7}) +
           op(50, {3, 8, int_value});
}
std::string module(const Words& body, uint32_t version = 0x10000) {
    Words words = Words{0x07230203, version, 0, 20, 0} + body;
    return std::string(reinterpret_cast<const char*>(words.data()), words.size() * 4);
}

// Bytes as the plug-in logs them.
std::string logged(const std::string& bytes) {
    std::string text;
    for (unsigned char c : bytes) {
        char hex[8];
        std::snprintf(hex, sizeof(hex), "\\x%02x", c);
        text += c == '\n'               ? "\\n"
                : c == '\t'             ? "\\t"
                : c == '\\'             ? "\\\\"
                : c >= 0x20 && c < 0x7f ? std::string(1, static_cast<char>(c))
                                        : hex;
    }
    return text;
}

void expect_usage_error(const RunResult& result, const std::string& message) {
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(contains(result.err, "ERROR:  \n   " + message + "\n")) << result.err;
}

// A program error ends the output, with nothing on stdout.
void expect_error(const RunResult& result, const std::string& message) {
    std::string last_line = "\nERROR: " + message + "\n";
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(result.err.size() - std::min(result.err.size(), last_line.size())), last_line);
}

json shader_of(const RunResult& result) {
    EXPECT_EQ(result.status, 0) << result.err;
    json report = json::parse(result.out, nullptr, false);
    return report.is_discarded() ? json() : report["shaders"][0];
}

// A report's property list as an object from name to value.
json by_name(const json& properties) {
    json named = json::object();
    for (const json& property : properties) named[property["name"].get<std::string>()] = property["value"];
    return named;
}

TEST(BackendCompile, OptionsSentForEachApiAndStage) {
    Backends shadex;
    const std::tuple<const char*, uint32_t, std::string> stages[] = {{"vert", 0, "vertex"},
                                                                     {"tesc", 1, "tessellation_control"},
                                                                     {"tese", 2, "tessellation_evaluation"},
                                                                     {"geom", 3, "geometry"},
                                                                     {"frag", 4, "fragment"},
                                                                     {"comp", 5, "compute"},
                                                                     {"rgen", 5313, "ray_generation"},
                                                                     {"rint", 5314, "ray_intersection"},
                                                                     {"rahit", 5315, "ray_anyhit"},
                                                                     {"rchit", 5316, "ray_closest_hit"},
                                                                     {"rmiss", 5317, "ray_miss"},
                                                                     {"rcall", 5318, "callable"}};
    for (const auto& [extension, model, stage] : stages) {
        std::string idvs = model == 0 ? " request-idvs=true" : "";
        shadex.write(std::string("s.") + extension, "void main() {}\n");
        EXPECT_EQ(shadex.run({"-c", "Koro-N68", std::string("s.") + extension}).status, 0);
        EXPECT_EQ(options_sent(shadex.compiles()), "compiler_type=openglessl shader_type=" + stage +
                                                       " request-pilot=true" + idvs +
                                                       (model == 4 ? " variants=per_fragment_shader" : ""));
        // Without a stage suffix the module's entry point names the stage.
        shadex.write("s.spv", module(entry(model, "main")));
        EXPECT_EQ(shadex.run({"-c", "Koro-N68", "s.spv"}).status, 0);
        EXPECT_EQ(options_sent(shadex.compiles()), "compiler_type=openglessl shader_type=" + stage +
                                                       " spirv=true spirv_binary_length=40 spirv_entrypoint_name=main"
                                                       " request-pilot=true" +
                                                       idvs);
    }

    shadex.write("k.cl.spv", module(entry(6, "k")));
    shadex.write("k.cl", "kernel void k() {}\n");
    shadex.write("v.spv", module(entry(0, "main")));
    shadex.write("inc/keep", "");
    const std::tuple<std::vector<std::string>, size_t, std::string> rows[] = {
        {{"-c", "Koro-N68", "-D", "FOO", "-D", "BAR=2", "s.frag"},
         0,
         "compiler_type=openglessl shader_type=fragment define=FOO=1 define=BAR=2 "
         "request-pilot=true variants=per_fragment_shader"},
        {{"-c", "Koro-L380", "s.frag"},
         0,
         "compiler_type=openglessl shader_type=fragment variants=per_fragment_shader"},
        // The source's own directory first, then each -I in order.
        {{"-c", "Koro-L380", "s.frag", "-I", "inc", "-I", "/"},
         0,
         "compiler_type=openglessl shader_type=fragment variants=per_fragment_shader "
         "include_path=. include_path=inc include_path=/"},
        {{"-c", "Koro-L380", "s.vert"}, 0, "compiler_type=openglessl shader_type=vertex"},
        {{"-c", "Koro-L380", "v.spv"},
         0,
         "compiler_type=openglessl shader_type=vertex spirv=true spirv_binary_length=40 "
         "spirv_entrypoint_name=main"},
        {{"-c", "Koro-N68", "k.cl", "-n", "k"},
         1,
         "compiler_type=opencl shader_type=kernel kernel_name=k cl_std=CL1.2 request-pilot=true"},
        {{"-c", "Koro-N68", "--opencl", "3.0", "k.cl.spv", "-n", "k"},
         1,
         "compiler_type=opencl shader_type=kernel spirv=true spirv_binary_length=36 "
         "kernel_name=k cl_std=CL3.0 request-pilot=true"},
    };
    for (const auto& [args, library, options] : rows) {
        EXPECT_EQ(shadex.run(args).status, 0) << options;
        EXPECT_EQ(options_sent(shadex.compiles(library)), options);
    }
}

TEST(BackendCompile, ChecksOnceTheCompilerIsChosen) {
    Backends shadex;
    shadex.write("k.cl", "kernel void k() {}\n");
    shadex.write("k.cl.spv", module(entry(6, "k")));
    shadex.write("f.spv", module(entry(4, "main")));
    shadex.write("f13.spv", module(entry(4, "main"), 0x10300));
    shadex.write("two.spv", module(entry(4, "a") + entry(4, "b")));
    shadex.write("consts.spv", module(entry(4, "main") + specialization_constants(48, 7)));
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"k.cl.spv", "-n", "k"}, "OpenCL 1.2 does not support SPIR-V binary input."},
        {{"-c", "Koro-N22", "--opencl", "3.0", "k.cl", "-n", "k"}, "OpenCL 3.0 is not supported by Koro-N22."},
        {{"-c", "Koro-L220", "f.spv"}, "Koro-L220 does not support Vulkan."},
        // Only Tarsel compilers check the module's version.
        {{"-c", "Koro-L380", "f13.spv"}, "SPIR-V 1.3 is not supported by Koro-L380."},
        {{"-v", "two.spv"}, "Specified shader stage does not match SPIR-V binary."},
        {{"-f", "two.spv"}, "Specified shader stage is ambiguous and needs an explicit entrypoint name."},
        {{"-f", "-n", "c", "two.spv"}, "Specified shader entrypoint does not match SPIR-V binary."},
        {{"consts.spv", "-S", "9=true"}, "No boolean specialization constant at location 9"},
        {{"consts.spv", "-S", "3=5"}, "No integer specialization constant at location 3"},
        {{"consts.spv", "-S", "4=99999999999"}, "Value out of range for int specialization constant at location 4"},
        {{"consts.spv", "-S", "x=1"}, "Specialization constant location x=1 is invalid."},
    };
    for (const auto& [args, message] : cases) {
        expect_usage_error(shadex.run(args), message);
        EXPECT_EQ(shadex.compiles(0).size() + shadex.compiles(1).size(), 0u) << message;
    }
    EXPECT_EQ(shadex.run({"-c", "Koro-N68", "f13.spv"}).status, 0);
    EXPECT_EQ(shadex.run({"-f", "-n", "b", "two.spv"}).status, 0);
    EXPECT_TRUE(contains(options_sent(shadex.compiles()), " spirv_entrypoint_name=b "));
}

TEST(BackendCompile, VulkanModuleIsEditedBeforeTheBackEndSeesIt) {
    Backends shadex;
    Words user_types = op(5632, Words{5, 5636} + literal("x")) + op(5633, Words{6, 0, 5636} + literal("y"));
    shadex.write("m.spv", module(op(10, literal("SPV_GOOGLE_user_type")) + entry(4, "main") + user_types +
                                 specialization_constants(48, 7)));
    std::string expected = module(entry(4, "main") + specialization_constants(49, 0xFFFFFFF4u));

    json shader = shader_of(shadex.run({"m.spv", "-S", "3=false", "-S", "4=-12", "--format", "json"}));
    EXPECT_EQ(shader["warnings"], json::array({"0:1: X0004: SPV_GOOGLE_user_type semantic "
                                               "extension is not supported"}));
    std::vector<std::string> compiles = shadex.compiles();
    ASSERT_EQ(compiles.size(), 1u);
    EXPECT_TRUE(contains(compiles[0], "\tspirv_binary_length=" + std::to_string(expected.size())));
    EXPECT_EQ(compiles[0].substr(compiles[0].find("\tsource=") + 8), logged(expected));
}

TEST(BackendCompile, BackEndFailuresEndTheRunCleanly) {
    Backends shadex(
        "compile\nwhen source | FAIL\nstatus 7\nerror 0:1: broken\nend\n"
        "compile\nwhen source | BADNUM\nstat work_registers_used | many\nend\n"
        "compile\nwhen source | NULLTEXT\nstat part_float16 | <null>\nend\n");
    for (const auto& [marker, message] :
         {std::pair{"FAIL", "Compile error : 7"},
          {"BADNUM", "Invalid value for work_registers_used: many"},
          {"NULLTEXT", "Compile error : malformed statistics from the back-end (null text)"}}) {
        shadex.write("a.frag", std::string("// ") + marker + "\nvoid main() {}\n");
        expect_error(shadex.run({"a.frag"}), message);
        EXPECT_EQ(shadex.compiles().size(), 1u);
    }
}

// A compile answer for the scripted back-end whose variants all end with `pipes`.
std::string answer(const std::string& condition, const std::vector<std::string>& variants, const std::string& pipes) {
    std::string text = "compile\nwhen " + condition + "\n";
    for (const std::string& stats : variants) text += "variant\n" + stats + pipes;
    return text + "end\n";
}

TEST(BackendCompile, OutputModelRules) {
    const std::string pipes =
        "stat pipe_names | A1/A2/A3/LS/V/T\nstat cycles | 8/8/8/1/8/4\n"
        "stat shortest | 8/8/8/1/8/4\nstat longest | 8/8/8/1/8/4\n";
    const std::string tarsel_pipes =
        "stat pipe_names | A/LS/T\nstat cycles | 2/1/1\n"
        "stat shortest | 2/1/1\nstat longest | 2/1/1\n";
    Backends shadex(answer("source | MODEL",
                           {"stat variant | 1\nstat work_registers_used | 8\n",
                            "stat variant | 0\nstat work_registers_used | 33\nstat part_float16 | 0.5\n"
                            "stat part_v2float16_underused | 0.5\n"
                            "stat position_attribute_symbols | pos:0,uv:65535,col:2\n"
                            "stat varying_attribute_symbols | uv:65535,nrm:1\n",
                            "stat is_pilot | true\n",
                            "stat variant | 256\nstat work_registers_used | 65\nstat part_float16 | N/A\n"},
                           pipes) +
                    answer("source | TARGETS",
                           {"stat render_target | 0\nstat work_registers_used | 5\n",
                            "stat render_target | 1\nstat work_registers_used | 2\n"},
                           tarsel_pipes) +
                    answer("option | spirv | true", {"stat position_attribute_symbols | v_12_in_Position:0\n"}, pipes));
    shadex.write("model.vert", "// MODEL\nvoid main() {}\n");
    shadex.write("targets.frag", "// TARGETS\nvoid main() {}\n");
    shadex.write("v.spv", module(entry(0, "main")));

    json shader = shader_of(shadex.run({"-c", "Koro-N68", "model.vert", "--format", "json"}));
    ASSERT_EQ(shader["variants"].size(), 3u);
    EXPECT_EQ(shader["variants"][1]["name"], "Position");
    EXPECT_EQ(shader["variants"][2]["name"], "Varying");
    // Variant, property and value; 65 registers fit no occupancy row.
    const std::tuple<int, const char*, json> properties[] = {
        {0, "thread_occupancy", 50},  {0, "fp16_arithmetic", 50},      {0, "fp16_idle_lanes", 25},
        {1, "thread_occupancy", 0},   {1, "fp16_arithmetic", nullptr}, {1, "fp16_idle_lanes", "absent"},
        {2, "thread_occupancy", 100}, {2, "fp16_arithmetic", "absent"}};
    for (const auto& [variant, name, value] : properties) {
        json named = by_name(shader["variants"][variant]["properties"]);
        EXPECT_EQ(named.value(name, json("absent")), value) << variant << " " << name;
    }
    EXPECT_EQ(by_name(shader["properties"])["has_uniform_computation"], true);
    EXPECT_EQ(shader["attribute_streams"], json::parse(R"({
        "position": [{"location": 0, "symbol": "pos"}, {"location": 2, "symbol": "col"},
                     {"location": null, "symbol": "uv"}],
        "nonposition": [{"location": 1, "symbol": "nrm"}]})"));

    shader = shader_of(shadex.run({"-c", "Koro-N68", "v.spv", "--format", "json"}));
    EXPECT_EQ(shader["attribute_streams"]["position"],
              json::parse(R"([{"location": 0, "symbol": "OpVariable %12 'in_Position'"}])"));

    // Tarsel keeps only the first render target, except on Koro-L220.
    shader = shader_of(shadex.run({"-c", "Koro-L380", "targets.frag", "--format", "json"}));
    ASSERT_EQ(shader["variants"].size(), 1u);
    EXPECT_EQ(shader["variants"][0]["name"], "Main");
    EXPECT_EQ(by_name(shader["variants"][0]["properties"])["thread_occupancy"], 50);
    EXPECT_EQ(by_name(shader["properties"])["has_uniform_computation"], true);
    shader = shader_of(shadex.run({"-c", "Koro-L220", "targets.frag", "--format", "json"}));
    ASSERT_EQ(shader["variants"].size(), 2u);
    EXPECT_EQ(shader["variants"][0]["name"], "Render target 0");
    EXPECT_EQ(shader["variants"][1]["name"], "Render target 1");
    EXPECT_EQ(by_name(shader["variants"][1]["properties"])["thread_occupancy"], 100);
}

}  // namespace
