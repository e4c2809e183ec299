// shadex: one job per run (compile, list or info), one report, exit 0, 1 or 2.
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "common/platform.h"
#include "compiler/compiler_manager.h"
#include "driver/ombra_output.h"
#include "driver/shadex_run.h"

int main(int argc, char** argv) {
    std::unique_ptr<CompilerManager> manager;
    try {
        manager = std::make_unique<CompilerManager>(get_executable_dir());
    } catch (const std::exception& e) {
        OmbraOutput output;
        output.error() << std::endl << "ERROR: " << e.what() << std::endl;
        return 2;
    }

    // Usage text shows the bare program name.
    std::vector<std::string> args(argv, argv + argc);
    if (!args.empty()) {
        size_t sep = args[0].find_last_of(get_path_sep());
        if (sep != std::string::npos) args[0] = args[0].substr(sep + 1);
    }
    return run_shadex(std::move(args), *manager, std::cout, std::cerr);
}
