#include "mirtinterface.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tolvex;

namespace {

int saves = 0;
std::string lastName = "unset";

void countSave()
{
    ++saves;
}

void rememberTestname(const char *name)
{
    lastName = name ? name : "(null)";
}

} // namespace

// One test: registration is process-wide state, so the order matters.
TEST(MirtInterface, RegistrationAndSavingCoverage)
{
    // Nothing registered: saving does nothing and prints nothing.
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    MirtInterface::saveAll();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(MirtInterface::instance().registered);

    // An empty list still marks the AUT as registered.
    const MirtRegistration empty[] = {{nullptr, nullptr}};
    registermirt(empty);
    EXPECT_TRUE(MirtInterface::instance().registered);

    // Only save registered: saving calls it and complains once about filename.
    const MirtRegistration entries[] = {
        {"__probemeter_save", &countSave},
        {"__probemeter_testname", reinterpret_cast<void (*)()>(&rememberTestname)},
        {"__probemeter_bogus", &countSave},
        {nullptr, nullptr},
    };
    testing::internal::CaptureStderr();
    registermirt(entries);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MirtInterface: Trying to register nonexisting function '__probemeter_bogus'\n");

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    MirtInterface::saveAll();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Hook: Saving coverage measurements\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MirtInterface: __probemeter_filename() is not set by AUT\n");
    EXPECT_EQ(saves, 1);

    MirtInterface::instance().callTestname("suite/case");
    EXPECT_EQ(lastName, "suite/case");
    testing::internal::CaptureStderr();
    EXPECT_EQ(MirtInterface::instance().callGetFilename(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MirtInterface: __probemeter_get_filename() is not set by AUT\n");
}
