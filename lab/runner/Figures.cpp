#include "lab/runner/Figures.h"

namespace Kyr::Lab::Runner {

Figures& Figures::operator+=(const Figures& other) {
    requests += other.requests;
    pings += other.pings;
    connections += other.connections;
    reconnections += other.reconnections;
    givenUp += other.givenUp;
    records += other.records;
    counted = counted || other.counted;
    twice += other.twice;
    lost += other.lost;
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
