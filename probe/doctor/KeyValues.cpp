#include "probe/doctor/KeyValues.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "probe/doctor/SqliteKeyValues.h"
#include "probe/doctor/TextKeyValues.h"

namespace Kyr::Probe {

namespace {

/// With its closing zero: so every SQLite database begins.
constexpr char kSqlite[] = "SQLite format 3";

std::string BeginningOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(sizeof kSqlite, '\0');
    if (file) {
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error(std::generic_category().message(errno));
    }
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

}  // namespace

IKeyValues::~IKeyValues() = default;

std::unique_ptr<IKeyValues> OpenKeyValues(const std::string& path) {
    const std::string beginning = BeginningOf(path);
    if (beginning.empty()) {
        throw std::runtime_error("an empty file");
    }
    if (beginning == std::string(kSqlite, sizeof kSqlite)) {
        return std::make_unique<CSqliteKeyValues>(path);
    }
    return std::make_unique<CTextKeyValues>(path);
}

}  // namespace Kyr::Probe
