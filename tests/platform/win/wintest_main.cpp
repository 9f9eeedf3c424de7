#include "wintest.h"

#include <cstdio>

namespace WinTest {

namespace {

int failures = 0;

} // namespace

std::vector<Case> &cases()
{
    static std::vector<Case> all;
    return all;
}

void fail(const char *file, int line, const std::string &message)
{
    ++failures;
    std::printf("%s:%d: check failed: %s\n", file, line, message.c_str());
}

} // namespace WinTest

int main()
{
    int passed = 0;
    int failed = 0;
    for (const WinTest::Case &test : WinTest::cases()) {
        const int before = WinTest::failures;
        test.run();
        if (WinTest::failures == before) {
            ++passed;
        } else {
            ++failed;
            std::printf("FAILED %s\n", test.name);
        }
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    std::fflush(stdout);
    return failed == 0 ? 0 : 1;
}
