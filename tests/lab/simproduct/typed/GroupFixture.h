// Carries out lines of one group of commands, as the product's console does.
#pragma once

#include <gmock/gmock.h>
#include <initializer_list>

#include "lab/common/Console.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Lab::SimProduct {

class GroupFixture : public ::testing::Test {
  protected:
    virtual ConsoleCommandGroup Group() = 0;

    /// Carries out a line; the events that it wrote.
    std::vector<std::string> Execute(const std::string& line) {
        CConsole({Group()}, lines_.Sink()).Execute(line);
        return lines_.Take();
    }

    void ExpectRefused(std::initializer_list<const char*> refused) {
        for (const char* line : refused) {
            EXPECT_THAT(Execute(line), ::testing::ElementsAre(::testing::StartsWith("error ")))
                << line;
        }
    }

    CLineList lines_;
};

}  // namespace Kyr::Lab::SimProduct
