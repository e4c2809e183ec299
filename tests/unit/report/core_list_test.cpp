#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "report/core_info.h"
#include "report/core_list.h"
#include "report/json_report.h"

namespace {

Compiler make_compiler(const std::string& core, CompilerType type) {
    return Compiler("r40p0-00rel0", core, "r1p0", type, {100}, {}, {}, nullptr);
}

}  // namespace

TEST(CoreList, SummaryFoldsApisPerCoreInFirstSeenOrder) {
    Compiler n68_gles = make_compiler("Koro-N68", CompilerType::OpenGLES);
    Compiler n22_vulkan = make_compiler("Koro-N22", CompilerType::Vulkan);
    Compiler n68_vulkan = make_compiler("Koro-N68", CompilerType::Vulkan);
    Compiler n68_cl = make_compiler("Koro-N68", CompilerType::OpenCL);

    std::map<std::string, uint32_t> api_sets;
    std::vector<std::string> order;
    get_core_summary({&n68_gles, &n22_vulkan}, api_sets, order);
    get_core_summary({&n68_vulkan, &n68_cl}, api_sets, order);

    EXPECT_EQ(order, (std::vector<std::string>{"Koro-N68", "Koro-N22"}));
    EXPECT_EQ(api_sets.at("Koro-N68"), 7u);
    EXPECT_EQ(api_sets.at("Koro-N22"), 2u);
}

TEST(CoreList, EmptyCatalogue) {
    // No back-end libraries beside this path: the catalogue is empty.
    CompilerManager manager("/nonexistent-shadex-dir");

    std::ostringstream text;
    print_available_cores(text, manager, ReportFormat::Text);
    EXPECT_EQ(text.str(), "\nUse \"shadex --info --core <name>\" to get details about a specific GPU.\n");

    std::ostringstream json;
    print_available_cores(json, manager, ReportFormat::Json);
    EXPECT_EQ(json.str(), R"({"cores":[],"producer":{"build":"73b41e","documentation":")" +
                              LATEST_DOC +
                              R"(","name":"Koro Offline Compiler","version":[8,8,1]},)"
                              R"("schema":{"name":"list","version":0}})"
                              "\n");

    for (ReportFormat format : {ReportFormat::Text, ReportFormat::Json}) {
        std::ostringstream info;
        try {
            print_core_api_info(info, manager, "r40p0-00rel0", "Koro-N68", "r1p0", format);
            ADD_FAILURE() << "no error";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "No compiler found matching target GPU");
        }
        EXPECT_EQ(info.str(), "");
    }
}
