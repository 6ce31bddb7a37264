#include "lab/runner/Figures.h"

#include <boost/algorithm/string/predicate.hpp>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::Runner {

namespace {

std::uint64_t Number(const CLine& line, const char* key) {
    const std::string* const value = line.Find(key);
    return value == nullptr ? 0 : ParseNumber(*value);
}

}  // namespace

void CFigureCounter::Event(const CLine& line) {
    if (line.Kind() == "request") {
        ++(line.Value("command") == "0" ? sum_.pings : sum_.requests);
    } else if (line.Kind() == "log") {
        Log(line);
    } else if (line.Kind() == "mined") {
        sum_.records += Number(line, "records");
    } else if (line.Kind() == "tally") {
        Figures& tally = tallies_[line.Value("kind")];
        tally.records = Number(line, "stored");
        tally.counted = true;
        tally.twice = Number(line, "twice");
        tally.lost = Number(line, "lost");
    }
}

void CFigureCounter::Log(const CLine& line) {
    using boost::algorithm::starts_with;
    const std::string text = line.Value("text");
    if (text == "Connected to product, processing tasks") {
        ++sum_.connections;
    } else if (text == "Connecting to product") {
        reconnecting_ = false;  // another process: its connection may fail, too
    } else if (text == "Reconnecting to product") {
        ++sum_.reconnections;
        reconnecting_ = true;
    } else if (reconnecting_ && line.Value("level") == "4" &&
               starts_with(text, "Starting TULK OVANTA Connector connector module failed with: ")) {
        --sum_.reconnections;
        reconnecting_ = false;
    } else if (starts_with(text,
                           "Message task was canceled because maximum retry count was reached")) {
        ++sum_.givenUp;
    }
}

Figures CFigureCounter::Sum() const {
    Figures sum = sum_;
    if (!tallies_.empty()) {
        // Actions go to the database without the miner, so that its count is the whole one.
        sum.records = 0;
        for (const auto& [kind, tally] : tallies_) {
            sum += tally;
        }
    }
    return sum;
}

Figures& Figures::operator+=(const Figures& other) {
    for (const auto count :
         {&Figures::requests, &Figures::pings, &Figures::connections, &Figures::reconnections,
          &Figures::givenUp, &Figures::records, &Figures::twice, &Figures::lost}) {
        this->*count += other.*count;
    }
    counted = counted || other.counted;
    return *this;
}

std::vector<std::pair<std::string, std::string>> Rows(const Figures& figures) {
    std::vector<std::pair<std::string, std::string>> rows{
        {"Requests to the product", std::to_string(figures.requests)},
        {"Pings", std::to_string(figures.pings)},
        {"Connections", std::to_string(figures.connections)},
        {"Reconnections", std::to_string(figures.reconnections)},
        {"Messages tried again", std::to_string(figures.Retries())},
        {"Messages given up", std::to_string(figures.givenUp)},
        {"Records stored", std::to_string(figures.records)}};
    if (figures.counted) {
        rows.emplace_back("Records stored twice", std::to_string(figures.twice));
        rows.emplace_back("Records lost", std::to_string(figures.lost));
    }
    return rows;
}

}  // namespace Kyr::Lab::Runner
