#include "e2e/scripted_install.h"

#include <fstream>

std::string add_backend(const Install& install, const std::string& subdir, const std::string& file_name,
                        const std::string& scenario, ScriptedVariant variant) {
    return install_scripted_backend(install.dir(), subdir, file_name, scenario, variant);
}

std::vector<std::string> read_log(const Install& install, const std::string& subdir, const std::string& file_name) {
    return read_scripted_log(install.dir() + "/" + subdir + "/" + file_name);
}

std::string ScriptedShadex::add(const std::string& subdir, const std::string& name, const std::string& scenario,
                                ScriptedVariant variant) {
    libraries.push_back(add_backend(install, subdir, name, scenario, variant));
    return libraries.back();
}

RunResult ScriptedShadex::run(const std::vector<std::string>& args) {
    for (const std::string& library : libraries) std::ofstream(library + ".log");
    RunOptions options;
    options.working_dir = files.path();
    RunResult result = install.run(args, options);
    for (const std::string& library : libraries) expect_released_once(read_scripted_log(library));
    return result;
}

std::vector<std::string> ScriptedShadex::compiles(size_t library) const {
    return calls_of(read_scripted_log(libraries.at(library)), "compile");
}
