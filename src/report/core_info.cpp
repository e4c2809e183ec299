#include "report/core_info.h"

#include <sstream>
#include <stdexcept>
#include <vector>

#include "report/format.h"
#include "report/json_report.h"

using nlohmann::json;

namespace {

// The first (best) compiler of one API for the selected core, or null.
Compiler* find_compiler(CompilerManager& manager, const std::string& driver, const std::string& core,
                        const std::string& revision, CompilerType type) {
    std::vector<Compiler*> compilers = manager.get_compilers(driver, core, revision, type);
    return compilers.empty() ? nullptr : compilers.front();
}

Compiler* require_compiler(CompilerManager& manager, const std::string& driver, const std::string& core,
                           const std::string& revision) {
    Compiler* compiler = find_compiler(manager, driver, core, revision, CompilerType::Any);
    if (compiler == nullptr) throw std::runtime_error("No compiler found matching target GPU");
    return compiler;
}

// SPIR-V versions are stored in hundredths; 130 reads 1.3 and 100 reads 1.
float spirv_version(const Compiler& compiler) { return static_cast<float>(compiler.version) / 100.0f; }

void print_extensions(std::ostream& out, const std::string& title, Compiler* compiler, const std::string& when_empty) {
    print_section_title(out, title);
    if (compiler == nullptr) {
        out << "Not supported" << std::endl;
    } else if (compiler->get_extensions().empty()) {
        out << when_empty << std::endl;
    } else {
        for (const auto& extension : compiler->get_extensions()) out << extension << std::endl;
    }
    out << std::endl;
}

json api_json(Compiler* compiler, json max_version) {
    json api = json::object();
    api["max_version"] = compiler ? std::move(max_version) : json(nullptr);
    json extensions = json::array();
    if (compiler) {
        for (const auto& extension : compiler->get_extensions()) extensions.push_back(extension);
    }
    api["extensions"] = std::move(extensions);
    return api;
}

}  // namespace

void print_core_api_info(std::ostream& out, CompilerManager& manager, const std::string& driver,
                         const std::string& core, const std::string& revision, ReportFormat format) {
    if (format == ReportFormat::Json) {
        print_core_api_info_json(out, manager, driver, core, revision);
        return;
    }
    if (format != ReportFormat::Text) return;

    Compiler* first = require_compiler(manager, driver, core, revision);
    print_section_title(out, "Configuration");
    out << "Hardware: " << core << " " << revision << std::endl;
    out << "Architecture: " << to_string(first->architecture) << std::endl;
    out << "Driver: " << first->driver << std::endl;
    out << std::endl;

    print_language_info(out, manager, driver, core, revision);

    print_extensions(out, "OpenGL ES ESSL Extensions",
                     find_compiler(manager, driver, core, revision, CompilerType::OpenGLES), "No supported extensions");
    print_extensions(out, "Vulkan SPIR-V Extensions",
                     find_compiler(manager, driver, core, revision, CompilerType::Vulkan), "Extension support unknown");
    print_extensions(out, "OpenCL C Extensions", find_compiler(manager, driver, core, revision, CompilerType::OpenCL),
                     "No supported extensions");
}

void print_language_info(std::ostream& out, CompilerManager& manager, const std::string& driver,
                         const std::string& core, const std::string& revision) {
    Compiler* opengles = find_compiler(manager, driver, core, revision, CompilerType::OpenGLES);
    Compiler* vulkan = find_compiler(manager, driver, core, revision, CompilerType::Vulkan);
    Compiler* opencl = find_compiler(manager, driver, core, revision, CompilerType::OpenCL);

    print_section_title(out, "Language Support");
    // Each API has its own way of numbering versions.
    if (opengles) {
        out << "OpenGL ES: Version " << opengles->version << std::endl;
    } else {
        out << "OpenGL ES: Not supported" << std::endl;
    }
    if (vulkan && vulkan->type == CompilerType::Vulkan) {
        std::ostringstream version;  // default float format, whatever `out` is set to
        version << spirv_version(*vulkan);
        out << "Vulkan: SPIR-V " << version.str() << std::endl;
    } else {
        out << "Vulkan: Not supported" << std::endl;
    }
    if (opencl) {
        out << "OpenCL: Version " << opencl->version << std::endl;
    } else {
        out << "OpenCL: Not supported" << std::endl;
    }
    out << std::endl;
}

void print_core_api_info_json(std::ostream& out, CompilerManager& manager, const std::string& driver,
                              const std::string& core, const std::string& revision) {
    Compiler* first = require_compiler(manager, driver, core, revision);
    Compiler* opengles = find_compiler(manager, driver, core, revision, CompilerType::OpenGLES);
    Compiler* vulkan = find_compiler(manager, driver, core, revision, CompilerType::Vulkan);
    Compiler* opencl = find_compiler(manager, driver, core, revision, CompilerType::OpenCL);

    json schema = json::object();
    schema["name"] = "info";
    schema["version"] = 0;

    json hardware = json::object();
    hardware["core"] = core;
    hardware["revision"] = revision;
    hardware["architecture"] = to_string(first->architecture);

    // The SPIR-V version goes out as the double of its single-precision
    // value (1.2999999523162842 for 130), unlike the other two APIs.
    json apis = json::object();
    apis["opengles"] = api_json(opengles, opengles ? json(opengles->version) : json());
    apis["vulkan"] = api_json(vulkan, vulkan ? json(static_cast<double>(spirv_version(*vulkan))) : json());
    apis["opencl"] = api_json(opencl, opencl ? json(opencl->version) : json());

    json document = json::object();
    document["producer"] = get_json_producer_header();
    document["schema"] = std::move(schema);
    document["hardware"] = std::move(hardware);
    document["driver"] = first->driver;
    document["apis"] = std::move(apis);
    write_json(out, document);
}
