#include "spirv_optimiser.h"

#include <glslang/SPIRV/spirv.hpp>

#include <spirv-tools/optimizer.hpp>

#include <functional>
#include <optional>
#include <set>
#include <utility>

#include "inlining_budget.h"
#include "loop_trip_counts.h"
#include "spirv_module_info.h"

namespace reference {

namespace {

// A loop is unrolled when it has a constant trip count and unrolling it adds
// at most this many words, about 400 instructions: enough for a handful of
// iterations of an ordinary loop body, not for a long or large loop.
constexpr size_t UNROLL_GROWTH_LIMIT = 2048;
constexpr size_t TOTAL_UNROLL_GROWTH_LIMIT = 4096;
// Each unroll attempt runs the optimiser over the whole module once.
constexpr size_t MAX_UNROLL_ATTEMPTS = 6;
// Loops running more often than this are not unrolled whatever their size.
constexpr uint32_t MAX_UNROLL_TRIPS = 32;

using PassList = std::function<void(spvtools::Optimizer&)>;

std::optional<std::vector<uint32_t>> run_passes(const std::vector<uint32_t>& module, spv_target_env environment,
                                                const PassList& passes) {
    spvtools::Optimizer optimizer(environment);
    optimizer.SetMessageConsumer([](spv_message_level_t, const char*, const spv_position_t&, const char*) {});
    passes(optimizer);
    spvtools::OptimizerOptions options;
    options.set_run_validator(false);
    std::vector<uint32_t> result;
    if (!optimizer.Run(module.data(), module.size(), &result, options)) return std::nullopt;
    return result;
}

// Specialisation constants frozen at the values this compile was given (as
// a driver does at pipeline creation), function calls inlined (within the
// budget of limit_inlining), variables in SSA form, constants folded, dead
// code and dead branches removed.
void register_ssa_passes(spvtools::Optimizer& optimizer) {
    optimizer.RegisterPass(spvtools::CreateFreezeSpecConstantValuePass())
        .RegisterPass(spvtools::CreateFoldSpecConstantOpAndCompositePass())
        .RegisterPass(spvtools::CreateWrapOpKillPass())
        .RegisterPass(spvtools::CreateDeadBranchElimPass())
        .RegisterPass(spvtools::CreateMergeReturnPass())
        .RegisterPass(spvtools::CreateInlineExhaustivePass())
        .RegisterPass(spvtools::CreateEliminateDeadFunctionsPass())
        .RegisterPass(spvtools::CreatePrivateToLocalPass())
        .RegisterPass(spvtools::CreateLocalSingleBlockLoadStoreElimPass())
        .RegisterPass(spvtools::CreateLocalSingleStoreElimPass())
        .RegisterPass(spvtools::CreateAggressiveDCEPass())
        .RegisterPass(spvtools::CreateScalarReplacementPass())
        .RegisterPass(spvtools::CreateLocalAccessChainConvertPass())
        .RegisterPass(spvtools::CreateLocalSingleBlockLoadStoreElimPass())
        .RegisterPass(spvtools::CreateLocalSingleStoreElimPass())
        .RegisterPass(spvtools::CreateAggressiveDCEPass())
        .RegisterPass(spvtools::CreateSSARewritePass())
        .RegisterPass(spvtools::CreateCCPPass())
        .RegisterPass(spvtools::CreateAggressiveDCEPass())
        .RegisterPass(spvtools::CreateDeadBranchElimPass())
        .RegisterPass(spvtools::CreateBlockMergePass());
}

// What unrolling leaves behind: folded induction variables, dead branches.
void register_cleanup_passes(spvtools::Optimizer& optimizer) {
    optimizer.RegisterPass(spvtools::CreateSSARewritePass())
        .RegisterPass(spvtools::CreateCCPPass())
        .RegisterPass(spvtools::CreateSimplificationPass())
        .RegisterPass(spvtools::CreateDeadBranchElimPass())
        .RegisterPass(spvtools::CreateAggressiveDCEPass())
        .RegisterPass(spvtools::CreateBlockMergePass());
}

// Common subexpressions, simplified arithmetic and what that leaves dead.
void register_final_passes(spvtools::Optimizer& optimizer) {
    optimizer.RegisterPass(spvtools::CreateRedundancyEliminationPass())
        .RegisterPass(spvtools::CreateCombineAccessChainsPass())
        .RegisterPass(spvtools::CreateSimplificationPass())
        .RegisterPass(spvtools::CreateVectorDCEPass())
        .RegisterPass(spvtools::CreateDeadInsertElimPass())
        .RegisterPass(spvtools::CreateDeadBranchElimPass())
        .RegisterPass(spvtools::CreateSimplificationPass())
        .RegisterPass(spvtools::CreateAggressiveDCEPass())
        .RegisterPass(spvtools::CreateCopyPropagateArraysPass())
        .RegisterPass(spvtools::CreateDeadVariableEliminationPass())
        .RegisterPass(spvtools::CreateEliminateDeadConstantPass())
        .RegisterPass(spvtools::CreateCFGCleanupPass())
        .RegisterPass(spvtools::CreateBlockMergePass());
}

// Word index of the loop-control operand of every OpLoopMerge, in order.
std::vector<size_t> loop_control_words(const std::vector<uint32_t>& module) {
    std::vector<size_t> found;
    for_each_instruction(module, [&](uint32_t opcode, size_t at, size_t end) {
        if (opcode == spv::OpLoopMerge && end - at >= 4) found.push_back(at + 3);
    });
    return found;
}

// The unroller only takes loops that ask for it, so exactly one loop is asked
// at a time; the others keep their own control bits but not Unroll.
std::vector<uint32_t> ask_to_unroll(std::vector<uint32_t> module, size_t loop_index) {
    const std::vector<size_t> controls = loop_control_words(module);
    for (size_t i = 0; i < controls.size(); ++i) {
        if (i == loop_index)
            module[controls[i]] |= spv::LoopControlUnrollMask;
        else
            module[controls[i]] &= ~spv::LoopControlUnrollMask;
    }
    return module;
}

// After an attempt, a loop still asking to be unrolled is the one that could
// not be.
bool asks_to_unroll(const std::vector<uint32_t>& module) {
    for (size_t control : loop_control_words(module)) {
        if (module[control] & spv::LoopControlUnrollMask) return true;
    }
    return false;
}

std::optional<std::vector<uint32_t>> unroll_requested(const std::vector<uint32_t>& module, spv_target_env environment) {
    return run_passes(module, environment, [](spvtools::Optimizer& optimizer) {
        optimizer.RegisterPass(spvtools::CreateLoopUnrollPass(true));
        register_cleanup_passes(optimizer);
    });
}

// Loops are tried last to first, so nested loops (which follow the loop that
// holds them) go before their parent. Only loops whose counter plainly runs a
// few times are tried: the unroller itself would spend seconds on a loop of
// a hundred thousand iterations before the size check could refuse it. A
// loop counts as unrolled only when it is gone without copies of an inner
// loop taking its place: an outer loop around a loop that stays would only
// multiply that loop.
std::vector<uint32_t> unroll_small_constant_loops(std::vector<uint32_t> module, spv_target_env environment) {
    const size_t original_size = module.size();
    std::vector<LoopShape> loops = loop_shapes(module, MAX_UNROLL_TRIPS);
    size_t attempts = 0;
    std::set<std::pair<size_t, uint32_t>> refused;  // body words, trips
    for (size_t loop_index = loops.size(); loop_index > 0 && attempts < MAX_UNROLL_ATTEMPTS;) {
        --loop_index;
        const std::vector<size_t> controls = loop_control_words(module);
        const std::optional<uint32_t> trips = loops[loop_index].trips;
        if (!trips || *trips > MAX_UNROLL_TRIPS) continue;
        // Folding shrinks the copies, but not by this much.
        if (loops[loop_index].body_words * *trips > 2 * UNROLL_GROWTH_LIMIT) continue;
        if (module[controls[loop_index]] & spv::LoopControlDontUnrollMask) continue;

        // Inlining leaves copies of one loop side by side; one refusal
        // answers for all of them.
        const std::pair<size_t, uint32_t> shape{loops[loop_index].body_words, *trips};
        if (refused.count(shape)) continue;

        ++attempts;
        std::optional<std::vector<uint32_t>> unrolled =
            unroll_requested(ask_to_unroll(module, loop_index), environment);
        const bool accepted = unrolled && !asks_to_unroll(*unrolled) &&
                              loop_control_words(*unrolled).size() + 1 == controls.size() &&
                              unrolled->size() <= module.size() + UNROLL_GROWTH_LIMIT &&
                              unrolled->size() <= original_size + TOTAL_UNROLL_GROWTH_LIMIT;
        if (!accepted) {
            refused.insert(shape);
            continue;
        }
        module = std::move(*unrolled);
        // Loops before this one are unchanged; only their shapes are needed.
        loops = loop_shapes(module, MAX_UNROLL_TRIPS);
    }
    return module;
}

}  // namespace

size_t count_loops(const std::vector<uint32_t>& module) { return loop_control_words(module).size(); }

std::vector<uint32_t> optimise_module(const std::vector<uint32_t>& module, spv_target_env environment) {
    std::optional<std::vector<uint32_t>> ssa = run_passes(limit_inlining(module), environment, register_ssa_passes);
    if (!ssa) return module;
    std::vector<uint32_t> unrolled = unroll_small_constant_loops(std::move(*ssa), environment);
    std::optional<std::vector<uint32_t>> final_module = run_passes(unrolled, environment, register_final_passes);
    return final_module ? std::move(*final_module) : unrolled;
}

}  // namespace reference
