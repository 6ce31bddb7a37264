// A symbol row of another class than the connector's own, as a host may hand one in. It is always
// empty and cannot be locked.
#pragma once

#include <string>

#include "host/logs/ISymbolContainer.h"

namespace Kyr::Test {

class CForeignSymbolContainer : public Common::Logs::ISymbolContainer {
  public:
    bool SerializeToString(std::string&) const override { return {}; }
    bool DeserializeFromString(const std::string&) override { return {}; }
    bool HasSymbol(std::int32_t) const override { return {}; }
    MultiDataType GetValue(std::int32_t) const override { return {}; }
    bool GetBool(std::int32_t) const override { return {}; }
    const std::string& GetBlob(std::int32_t) const override { return empty_; }
    std::int64_t GetInt64(std::int32_t) const override { return {}; }
    double GetDouble(std::int32_t) const override { return {}; }
    const std::string& GetString(std::int32_t) const override { return empty_; }
    std::uint64_t GetResourceId(std::int32_t) const override { return {}; }
    std::int32_t GetInt32(std::int32_t) const override { return {}; }
    UTCTime GetUtcTime(std::int32_t) const override { return {}; }
    Time GetTime(std::int32_t) const override { return {}; }
    Uuid GetUuid(std::int32_t) const override { return {}; }
    boost::optional<MultiDataType> FindValue(std::int32_t) const override { return {}; }
    boost::optional<bool> FindBool(std::int32_t) const override { return {}; }
    boost::optional<std::string> FindBlob(std::int32_t) const override { return {}; }
    boost::optional<std::int64_t> FindInt64(std::int32_t) const override { return {}; }
    boost::optional<double> FindDouble(std::int32_t) const override { return {}; }
    boost::optional<std::string> FindString(std::int32_t) const override { return {}; }
    boost::optional<std::uint64_t> FindResourceId(std::int32_t) const override { return {}; }
    boost::optional<std::int32_t> FindInt32(std::int32_t) const override { return {}; }
    boost::optional<UTCTime> FindUtcTime(std::int32_t) const override { return {}; }
    boost::optional<Time> FindTime(std::int32_t) const override { return {}; }
    boost::optional<Uuid> FindUuid(std::int32_t) const override { return {}; }
    ISymbolContainer& AddValue(std::int32_t, const MultiDataType&) override { return *this; }
    ISymbolContainer& AddBool(std::int32_t, bool) override { return *this; }
    ISymbolContainer& AddBlob(std::int32_t, const std::string&) override { return *this; }
    ISymbolContainer& AddInt64(std::int32_t, std::int64_t) override { return *this; }
    ISymbolContainer& AddDouble(std::int32_t, double) override { return *this; }
    ISymbolContainer& AddString(std::int32_t, const std::string&) override { return *this; }
    ISymbolContainer& AddResourceId(std::int32_t, std::uint64_t) override { return *this; }
    ISymbolContainer& AddInt32(std::int32_t, std::int32_t) override { return *this; }
    ISymbolContainer& AddUtcTime(std::int32_t, const UTCTime&) override { return *this; }
    ISymbolContainer& AddCurrentTime(std::int32_t) override { return *this; }
    ISymbolContainer& AddUuid(std::int32_t, const boost::uuids::uuid&) override { return *this; }
    ISymbolContainer& AddUuidString(std::int32_t, const std::string&) override { return *this; }
    ISymbolContainer& AddUuidMessage(std::int32_t, const Uuid&) override { return *this; }
    ISymbolContainer& SetValue(std::int32_t, const MultiDataType&) override { return *this; }
    ISymbolContainer& SetBool(std::int32_t, bool) override { return *this; }
    ISymbolContainer& SetInt64(std::int32_t, std::int64_t) override { return *this; }
    ISymbolContainer& SetString(std::int32_t, const std::string&) override { return *this; }
    ISymbolContainer& SetUuidString(std::int32_t, const std::string&) override { return *this; }
    ISymbolContainer& SetResourceId(std::int32_t, std::uint64_t) override { return *this; }
    ISymbolContainer& SetBlob(std::int32_t, const std::string&) override { return *this; }
    ISymbolContainer& SetUtcTime(std::int32_t, const UTCTime&) override { return *this; }
    void RemoveSymbol(std::int32_t) override {}
    std::size_t GetProtobufSize() const override { return {}; }
    std::size_t GetCount() const override { return {}; }
    MultiDataType GetValueAt(std::size_t) const override { return {}; }
    std::int32_t GetSymbolAt(std::size_t) const override { return {}; }
    bool Equals(const ISymbolContainer&) const override { return {}; }
    boost::shared_ptr<ISymbolContainer> Clone() const override { return {}; }
    std::uint64_t GetBinarySize() const override { return {}; }
    void SerializeToBinary(std::string&) const override {}
    void DeserializeFromBinary(const char*, std::size_t) override {}
    void DeserializeFromBinary(const std::string&) override {}
    bool NotEquals(const ISymbolContainer&) const override { return {}; }

  private:
    std::string empty_;
};

}  // namespace Kyr::Test
