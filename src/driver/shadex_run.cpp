#include "driver/shadex_run.h"

#include <exception>
#include <stdexcept>

#include <tclap/CmdLine.h>

#include "driver/compile_job.h"
#include "driver/ombra_output.h"
#include "driver/option_set.h"

namespace {

int run_job(OptionSet& options, CompilerManager& manager, OmbraOutput& output, VulkanConverter convert) {
    if (options.list.getValue()) return run_list_job(options, manager, output);
    if (options.info.getValue()) return run_info_job(options, manager, output);
    return run_compile_job(options, manager, output, convert);
}

int run(OptionSet& options, CompilerManager& manager, OmbraOutput& output, std::vector<std::string>& args,
        VulkanConverter convert) {
    options.cmd.parse(args);
    output.validate_exclusive_args();

    const std::string& out_name = options.output.getValue();
    if (!out_name.empty() && !output.open_out_file(out_name))
        throw TCLAP::ArgParseException("Could not create output file: " + out_name);

    int status = run_job(options, manager, output, convert);
    // A report lost on the way out (a full disk, a device that refuses it)
    // must not pass for a result.
    if (!output.structured_report().flush())
        throw std::runtime_error(out_name.empty() ? "Could not write the report to standard output."
                                                  : "Could not write output file: " + out_name);
    return status;
}

}  // namespace

int run_shadex(std::vector<std::string> args, CompilerManager& manager, std::ostream& out, std::ostream& err,
               VulkanConverter convert_vulkan_glsl) {
    OmbraOutput output(out, err);
    try {
        OptionSet options(output);
        try {
            return run(options, manager, output, args, convert_vulkan_glsl);
        } catch (TCLAP::ArgException& e) {
            output.failure(options.cmd, e);
        }
    } catch (TCLAP::ExitException& e) {
        return e.getExitStatus();
    } catch (const std::exception& e) {
        output.error() << std::endl << "ERROR: " << e.what() << std::endl;
        return 2;
    }
    return 2;
}
