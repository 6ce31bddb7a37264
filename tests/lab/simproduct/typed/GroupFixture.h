// Carries out lines of one group of commands.
#pragma once

#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/typed/ConsoleCommand.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Lab::SimProduct {

class GroupFixture : public ::testing::Test {
  protected:
    virtual ConsoleCommandGroup Group() = 0;

    /// Carries out a line of the group's only command; the events that it wrote.
    std::vector<std::string> Execute(const std::string& line) {
        Group().at(0).run(SplitWords(line));
        return lines_.Take();
    }

    /// What a refused line is told; empty when it was carried out.
    std::string Refusal(const std::string& line) {
        try {
            Execute(line);
        } catch (const std::invalid_argument& problem) {
            return problem.what();
        }
        return "";
    }

    CLineList lines_;
};

}  // namespace Kyr::Lab::SimProduct
