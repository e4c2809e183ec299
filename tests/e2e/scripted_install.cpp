#include "e2e/scripted_install.h"

std::string add_backend(const Install& install, const std::string& subdir, const std::string& file_name,
                        const std::string& scenario, ScriptedVariant variant) {
    return install_scripted_backend(install.dir(), subdir, file_name, scenario, variant);
}

std::vector<std::string> read_log(const Install& install, const std::string& subdir, const std::string& file_name) {
    return read_scripted_log(install.dir() + "/" + subdir + "/" + file_name);
}
