#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "report/core_info.h"
#include "report/core_list.h"
#include "report/json_report.h"

TEST(CoreList, EmptyCatalogue) {
    // No back-end libraries beside this path: the catalogue is empty.
    CompilerManager manager("/nonexistent-shadex-dir");
    std::ostringstream text, json;
    print_available_cores(text, manager, ReportFormat::Text);
    EXPECT_EQ(text.str(), "\nUse \"shadex --info --core <name>\" to get details about a specific GPU.\n");
    print_available_cores(json, manager, ReportFormat::Json);
    EXPECT_EQ(json.str(), R"({"cores":[],"producer":{"build":"73b41e","documentation":")" +
                              get_json_producer_header()["documentation"].get<std::string>() +
                              R"(","name":"Koro Offline Compiler","version":[8,8,1]},)"
                              R"("schema":{"name":"list","version":0}})"
                              "\n");

    // --info prints nothing before its error, in either format.
    std::ostringstream info;
    for (ReportFormat format : {ReportFormat::Text, ReportFormat::Json})
        EXPECT_THROW(print_core_api_info(info, manager, "r40p0-00rel0", "Koro-N68", "r1p0", format),
                     std::runtime_error);
    EXPECT_EQ(info.str(), "");
}
