#include "input/compile_input.h"

CompileInput::CompileInput(const Bytes& source_in, const std::string& core_in, const std::string& revision_in)
    : source(source_in), core(core_in), revision(revision_in) {}

void CompileInput::add_flexible_input(const std::string& key, const std::string& value) {
    flexible_inputs.push_back(key);
    flexible_inputs.push_back(value);
}

shadex_inputs* CompileInput::get() {
    pointers.clear();
    for (const auto& text : flexible_inputs) pointers.push_back(text.c_str());

    record = shadex_inputs{};
    record.source = source.data();
    record.options.count = static_cast<shadex_u32>(pointers.size());
    record.options.entries = pointers.data();
    record.hardware.core = core.c_str();
    record.hardware.revision = revision.c_str();
    record.reserved_ = 0;
    return &record;
}
