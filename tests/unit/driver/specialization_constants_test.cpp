#include <gtest/gtest.h>
#include <tclap/ArgException.h>

#include "driver/specialization_constants.h"

namespace {

std::string failure_of(const std::string& text) {
    try {
        parse_specialization_constants({text});
    } catch (const TCLAP::ArgException& e) {
        return e.error();
    }
    return "";
}

TEST(SpecializationConstants, ValuesLandInTheirTables) {
    SpecializationConstants constants =
        parse_specialization_constants({"3=true", "4=-12", "5=false", "4=7", "4294967297=1"});
    EXPECT_EQ(constants.bools.at(3), true);
    EXPECT_EQ(constants.bools.at(5), false);
    EXPECT_EQ(constants.ints.at(4), 7);  // a later entry replaces an earlier one
    EXPECT_EQ(constants.ints.at(1), 1);  // locations keep only their low 32 bits
    EXPECT_EQ(constants.ints.size(), 2u);
}

TEST(SpecializationConstants, MessagesPairWithTheirCauses) {
    EXPECT_EQ(failure_of("=1"), "Specialization constant location =1 is invalid.");
    EXPECT_EQ(failure_of("3"), "Specialization constant parameter 3 is invalid.");
    EXPECT_EQ(failure_of("3=1=2"), "Specialization constant parameter 3=1=2 is invalid.");
    EXPECT_EQ(failure_of("3=1.5"), "Specialization constant parameter 3=1.5 is invalid.");
    EXPECT_EQ(failure_of("3=-"), "Specialization constant parameter 3=- is invalid.");
    EXPECT_EQ(failure_of("3=99999999999999999999"), "Specialization constant value 3=99999999999999999999 is invalid.");
    EXPECT_EQ(failure_of("99999999999999999999=1"), "Specialization constant value 99999999999999999999=1 is invalid.");
}

}  // namespace
