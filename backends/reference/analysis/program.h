// The part of a module one entry point runs: the functions it reaches, their
// control-flow graphs, and what each pointer points into.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "analysis/control_flow.h"
#include "analysis/core_model.h"
#include "analysis/loops.h"
#include "analysis/module_ir.h"
#include "analysis/stage.h"
#include "analysis/tile_variables.h"

namespace reference {

struct PointerInfo {
    uint32_t root = 0;           // the variable or parameter the pointer derives from; 0 if unknown
    uint32_t storage_class = 0;  // of the pointer itself
    bool dynamic_index = false;  // some index on the way is not a constant
    int64_t root_member = -1;    // first constant index applied to the root
};

// Where a load or store really goes on the hardware.
enum class MemoryKind {
    Register,         // promoted to registers: free
    UniformRegister,  // uniforms read in place from the uniform register file
    Stack,            // thread-local arrays indexed dynamically
    ConstantTable,    // thread-local arrays holding only constants: constant memory
    Memory,           // buffers, shared memory, globals: the load/store unit
    Input,            // stage inputs
    Output,           // stage outputs
    Tile,             // a fragment's tile buffer: fetched colour, depth, stencil, pixel local storage
    Other,
};

struct Program {
    const Module& module;
    const ArchitectureProfile& profile;
    std::optional<Stage> stage;  // none for an execution model no stage has
    size_t entry_function = 0;
    const EntryPointDecl* entry = nullptr;
    std::vector<bool> reachable_functions;  // by index into module.functions
    std::vector<ControlFlow> control_flow;  // by index into module.functions
    std::unordered_set<uint32_t> stack_variables;
    std::unordered_set<uint32_t> constant_tables;
    std::unordered_map<uint32_t, TileKind> tile_variables;  // by variable id

    Program(const Module& module, const ArchitectureProfile& profile, std::optional<Stage> stage,
            const EntryPointDecl& entry, const TileVariables& tile_names = {});

    // What part of the tile a pointer reaches; only for MemoryKind::Tile.
    TileKind tile_kind(uint32_t pointer) const;

    bool is_vertex() const { return stage == Stage::Vertex; }
    bool is_fragment() const { return stage == Stage::Fragment; }
    bool is_kernel() const { return stage == Stage::Kernel; }

    // Reachable functions, each after every function it calls (a call that
    // closes a cycle is the one exception).
    std::vector<size_t> callees_first() const;
    // Functions called from the reachable blocks of function `fn` (by index).
    std::vector<size_t> callees_of(size_t fn) const;

    PointerInfo trace_pointer(uint32_t pointer) const;
    MemoryKind memory_kind(uint32_t pointer) const;
    // Memory the program cannot write: inputs, uniforms, push constants.
    bool is_read_only(uint32_t pointer) const;
    int64_t builtin_of(const PointerInfo& pointer) const;  // -1 when not a built-in

private:
    void find_constant_tables();

    struct ResolvedStorage {
        PointerInfo pointer;
        uint32_t storage_class = 0;  // of the root variable where known
        bool buffer_block = false;   // a storage buffer declared in the Uniform class
    };
    ResolvedStorage resolve_storage(uint32_t pointer) const;

public:
    // Calls f(function index, block index, instruction) for every instruction
    // of every reachable block of every reachable function.
    template <typename F>
    void for_each_instruction(F f) const {
        for (size_t fn = 0; fn < module.functions.size(); ++fn) {
            if (!reachable_functions[fn]) continue;
            const auto& blocks = module.functions[fn].blocks;
            for (size_t b = 0; b < blocks.size(); ++b) {
                if (!control_flow[fn].reachable[b]) continue;
                for (const Instruction& instruction : blocks[b].instructions) f(fn, b, instruction);
            }
        }
    }
};

// The entry point called name (preferring the stage's execution model);
// null when the module has none of that name.
const EntryPointDecl* find_entry_point(const Module& module, const std::string& name, std::optional<Stage> stage);

}  // namespace reference
