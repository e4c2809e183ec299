#include "e2e/scripted_install.h"

#include <fstream>

std::string ScriptedShadex::add(const std::string& subdir, const std::string& name, const std::string& scenario,
                                ScriptedVariant variant) {
    libraries.push_back(install_scripted_backend(install.dir(), subdir, name, scenario, variant));
    return libraries.back();
}

RunResult ScriptedShadex::run(const std::vector<std::string>& args) {
    for (const std::string& library : libraries) std::ofstream(library + ".log");
    RunOptions options;
    options.working_dir = files.path();
    options.env = env;
    RunResult result = install.run(args, options);
    for (const std::string& library : libraries) EXPECT_EQ(release_problems(read_scripted_log(library)), "");
    return result;
}

std::vector<std::string> ScriptedShadex::compiles(size_t library) const {
    return calls_of(read_scripted_log(libraries.at(library)), "compile");
}
