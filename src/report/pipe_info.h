// The execution pipelines of each architecture generation, keyed by the short
// column label the compile results use ("A", "LS", "FMA", ...).
#pragma once

#include <map>
#include <string>

#include "common/vocabulary.h"

struct PipelineInfo {
    std::string name;          // machine key, e.g. "load_store"
    std::string display_name;  // e.g. "Load/Store"
    std::string description;   // one sentence, e.g. "Load/Store pipeline."
};

// Ordered by label, so iteration yields labels in byte order.
using PipeInfoMap = std::map<std::string, PipelineInfo>;

// Look-ups use at(): an unknown architecture or label is an out_of_range error.
extern const std::map<ArchitectureType, PipeInfoMap> PIPE_INFO;
