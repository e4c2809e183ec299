// Where a variant's cost comes from: its figures split by the source lines
// the module's debug information names, with the registers live at each
// line, the stack each line needs and the trips of the loop around it.
#pragma once

#include "analysis/core_model.h"
#include "analysis/path_figures.h"
#include "analysis/program.h"
#include "analysis/variant_statistics.h"

namespace reference {

// "source_file_names", "source_line_costs", "source_line_registers",
// "source_line_stack" and "source_line_loops" for one variant; `figures` are
// the variant's, spill and uniform traffic included, so that the lines'
// figures add up to its totals.
void add_source_line_costs(Statistics& statistics, const Program& program, const CoreModel& core,
                           const InstructionMask& mask, const PathFigures& figures, bool varyings);

}  // namespace reference
