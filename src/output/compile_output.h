// The program's own picture of one compilation: typed per-variant statistics,
// shader properties, messages and attribute streams, built from a back-end's
// key/value records and normalised across architectures by the fix-ups.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/vocabulary.h"
#include "compiler/shadex_abi.h"

enum ShaderProps : uint32_t {
    HAS_DROPPED_VARIANT = 1,  // a pilot or extra render target was seen
    HAS_SIDE_EFFECTS = 2,
    HAS_EARLY_FRAGMENT_TESTS = 4,
    COLOR_BUFFER_READ = 8,
    DEPTH_BUFFER_READ = 16,
    STENCIL_BUFFER_READ = 32,
    LOCAL_STORAGE_READ = 64,
    DEPTH_BUFFER_WRITTEN = 128,
    STENCIL_BUFFER_WRITTEN = 256,
    LOCAL_STORAGE_WRITE = 512,
    MODIFIES_COVERAGE = 1024,
    HAS_SLOW_RQ = 2048,
};

struct ShaderAttribute {
    std::string symbol;
    int32_t stream = -1;  // -1: assigned at run time
};

// One source line's share of a variant, as the back-end attributed it.
struct SourceLineCost {
    uint32_t file = 0;            // index into the variant's source_files
    uint32_t line = 0;            // 1-based; 0 for what no line could be given
    std::vector<float> cycles;    // per pipe, parallel to the variant's pipe_names
    int32_t work_registers = -1;  // live where the line runs; -1: not reported
    int32_t stack_bytes = 0;
    bool in_loop = false;
    int32_t loop_trip_count = -1;  // of the innermost loop; -1: unknown
};

// -1 means not reported; -2 (percentages) means the key was never seen.
struct ShaderVariant {
    std::string name = "Main";
    int32_t work_registers_used = 0;
    int32_t work_registers_allocated = 0;
    int32_t occupancy = 0;
    int32_t uniform_registers_used = 0;
    int32_t uniform_registers_available = -1;
    bool has_spilling = false;
    int32_t spill_size = -1;
    int32_t stack_size = -1;
    int32_t tls_size = -1;
    int32_t wls_size = -1;
    int32_t fp16_percent = -2;
    int32_t v2fp16_underused_percent = -2;
    int32_t v2fp16_size = -1;
    std::vector<std::string> pipe_names;
    std::vector<float> cycles;
    std::vector<float> shortest_path;
    std::vector<float> longest_path;
    // Only when source-line costs were asked for. File 0 is the source text
    // the program sent, whatever the back-end calls it.
    std::vector<std::string> source_files;
    std::vector<SourceLineCost> source_lines;  // by file and line; line 0 last

    // Main, Position, Varying, Render target 0..3, then unknown names.
    static bool before(const ShaderVariant& a, const ShaderVariant& b);
};

class CompileOutput {
public:
    // Copies everything it keeps; no pointer into `outputs` survives. The
    // source-line keys are read only when `source_lines` asked for them.
    CompileOutput(ArchitectureType architecture, const std::string& core, const std::string& revision,
                  const std::string& driver, CompilerType compiler_type, SourceType source_type,
                  const shadex_outputs& outputs, bool source_lines = false);

    bool has_property(ShaderProps property) const;
    // Stores true for `property` when `flags` has its bit; never stores false.
    bool tset_shader_prop(ShaderProps property, uint32_t flags);
    void sort_attributes();

    ArchitectureType architecture;
    std::string core;
    std::string revision;
    std::string driver;
    CompilerType compiler_type;
    SourceType source_type;
    std::string entry_point = "main";
    std::vector<ShaderVariant> variants;
    bool has_stack_or_slow_rq = false;
    bool last_slow_rq = false;
    bool has_vrs = false;
    bool has_slow_vrs = false;
    std::unordered_map<uint32_t, bool> properties;
    std::vector<std::string> warnings;
    std::vector<std::string> errors;
    std::vector<std::string> messages;
    std::vector<ShaderAttribute> position_attributes;
    std::vector<ShaderAttribute> varying_attributes;

private:
    // One variant while its statistics are being read.
    struct VariantReading;

    bool source_lines_requested;

    void read_messages(const shadex_outputs& outputs);
    void read_variant(const shadex_flexible_list& record);
    void read_statistic(VariantReading& reading, const std::string& key, const std::string& value);
    void read_work_registers(ShaderVariant& variant, int32_t registers) const;
    void read_render_target(VariantReading& reading, const std::string& value);
    void keep_variant(VariantReading& reading);
    void add_slow_path_warnings();
    void run_fixups();

    void workaround_empty_programs();
    void workaround_longest_path();
    void workaround_tarsel_normalization();
    void workaround_full_pipe_normalization();
    void workaround_varying_frag_only();
    void workaround_common_attribute_streams();
    void workaround_vulkan_attribute_names();
    void workaround_opencl_error_strings();
    void workaround_opencl_missing_tls_size();
    void workaround_legacy_graphics_missing_alloca_size();
    void workaround_pelion_pipe_names();
    void workaround_pelion_aggregate_cost();
    void workaround_pelion_configurable_cores();
};

using CompileOutputPtr = std::unique_ptr<CompileOutput>;
