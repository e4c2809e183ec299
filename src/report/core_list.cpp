#include "report/core_list.h"

#include <optional>

#include "report/format.h"
#include "report/json_report.h"

using nlohmann::json;

namespace {

const CompilerType API_ORDER[] = {CompilerType::OpenGLES, CompilerType::Vulkan, CompilerType::OpenCL};

std::vector<std::string> api_names(uint32_t api_set) {
    std::vector<std::string> names;
    for (CompilerType type : API_ORDER) {
        if (api_set & static_cast<uint32_t>(type)) names.push_back(to_string(type));
    }
    return names;
}

std::set<std::string> get_drivers(CompilerManager& manager) {
    std::set<std::string> drivers;
    for (const Compiler* compiler :
         manager.get_compilers(std::nullopt, std::nullopt, std::nullopt, CompilerType::Any)) {
        drivers.insert(compiler->driver);
    }
    return drivers;
}

// Drivers are visited in byte order of their names, so the order in which
// cores are first met follows that, not the catalogue order.
void summarise(CompilerManager& manager, const std::set<std::string>& drivers,
               std::map<std::string, uint32_t>& api_sets, std::vector<std::string>& core_order) {
    for (const auto& driver : drivers) {
        get_core_summary(manager.get_compilers(driver, std::nullopt, std::nullopt, CompilerType::Any), api_sets,
                         core_order);
    }
}

void print_core_list_json(std::ostream& out, CompilerManager& manager) {
    std::map<std::string, uint32_t> api_sets;
    std::vector<std::string> core_order;
    summarise(manager, get_drivers(manager), api_sets, core_order);

    json cores = json::array();
    for (const auto& core : core_order) {
        json entry = json::object();
        entry["core"] = core;
        entry["apis"] = json(api_names(api_sets.at(core)));
        cores.push_back(std::move(entry));
    }

    json schema = json::object();
    schema["name"] = "list";
    schema["version"] = 0;

    json document = json::object();
    document["schema"] = std::move(schema);
    document["producer"] = get_json_producer_header();
    document["cores"] = std::move(cores);
    write_json(out, document);
}

}  // namespace

void get_core_summary(const std::vector<Compiler*>& compilers, std::map<std::string, uint32_t>& api_sets,
                      std::vector<std::string>& core_order) {
    for (const Compiler* compiler : compilers) {
        if (api_sets.find(compiler->core) == api_sets.end()) {
            core_order.push_back(compiler->core);
        }
        api_sets[compiler->core] |= static_cast<uint32_t>(compiler->type);
    }
}

void print_core_summary(std::ostream& out, CompilerManager& manager, const std::set<std::string>& drivers) {
    std::map<std::string, uint32_t> api_sets;
    std::vector<std::string> core_order;
    summarise(manager, drivers, api_sets, core_order);

    // A heading on every change of architecture, so cores of one generation
    // that are not adjacent get a second heading.
    std::optional<ArchitectureType> previous;
    for (const auto& core : core_order) {
        ArchitectureType architecture = CompilerManager::get_architecture_for_core(core);
        if (previous != architecture) {
            if (previous) out << std::endl;
            print_section_title(out, to_string(architecture) + " architecture");
            previous = architecture;
        }
        out << core << " (" << pretty_print_list(api_names(api_sets.at(core)), ", ", "") << ")" << std::endl;
    }
}

void print_available_cores(std::ostream& out, CompilerManager& manager, ReportFormat format) {
    switch (format) {
        case ReportFormat::Text:
            print_core_summary(out, manager, get_drivers(manager));
            out << std::endl;
            out << "Use \"shadex --info --core <name>\" to get details about a specific GPU." << std::endl;
            break;
        case ReportFormat::Json: print_core_list_json(out, manager); break;
    }
}
