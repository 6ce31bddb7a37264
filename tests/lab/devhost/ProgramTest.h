// The program as scripts use it: a process with commands on its input and events on its output.
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/system/TemporaryFolder.h"
#include "tests/support/system/TestProcess.h"

namespace Kyr::Test {

class CDevHostProcess : public CTestProcess {
  public:
    explicit CDevHostProcess(const std::vector<std::string>& arguments)
        : CTestProcess(KYR_DEVHOST_PATH, arguments) {}
};

class ProgramTest : public ::testing::Test {
  protected:
    void Launch() { Launch(folder_.File("host.log")); }
    void Launch(const std::string& log) {
        process_ = std::make_unique<CDevHostProcess>(
            std::vector<std::string>{std::string("--library=") + KYR_LIBRARY_PATH,
                                     "--database=" + folder_.File("host.db"), "--log=" + log});
    }

    const CTemporaryFolder folder_;
    std::unique_ptr<CDevHostProcess> process_;
};

}  // namespace Kyr::Test
