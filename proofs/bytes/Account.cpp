#include "proofs/bytes/Account.h"

#include <fstream>
#include <stdexcept>

namespace Kyr::Proofs::Bytes {

namespace {

constexpr char kBeforeCount[] = ": ";

std::map<std::string, std::string> ReadTable(const std::string& file) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error("cannot read " + file);
    }
    std::map<std::string, std::string> table;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const std::size_t end = line.rfind(kBeforeCount);
        if (end == std::string::npos) {
            throw std::runtime_error("no class of outcomes: " + line);
        }
        table[line.substr(0, end)] = line.substr(end + 2);
    }
    return table;
}

}  // namespace

void CAccount::Enter(const Kind& kind, const std::string& outcome) {
    Count& count = counts_[kind.name + ": " + outcome];
    ++count.inputs;
    count.isOurs = kind.countsAreOurs;
}

void CAccount::Write(const std::string& file) const {
    std::ofstream stream(file, std::ios::binary);
    for (const auto& [name, count] : counts_) {
        stream << name << kBeforeCount << count.Text() << '\n';
    }
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file);
    }
}

std::vector<std::string> CAccount::Differences(const std::string& file, bool whole) const {
    std::map<std::string, std::string> table = ReadTable(file);
    std::vector<std::string> differences;
    for (const auto& [name, count] : counts_) {
        const auto known = table.find(name);
        if (known == table.end()) {
            differences.push_back("no such class in the table: " + name + ": " + count.Text());
            continue;
        }
        if (whole && known->second != count.Text()) {
            differences.push_back(name + ": " + count.Text() + " instead of " + known->second);
        }
        table.erase(known);
    }
    for (const auto& [name, count] : table) {
        if (whole) {
            differences.push_back("did not come: " + name + ": " + count);
        }
    }
    return differences;
}

}  // namespace Kyr::Proofs::Bytes
