// What the host knows of one symbol: its number, data type, tags, largest length and name.
//
// "Delta symbol" is the host's word for any symbol of a log, "otl length" for the largest length of
// its text.
// Immutable after construction; shared by all threads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Kyr::Common::Logs {

/// The field of MultiDataType that holds a symbol's value. The codes are the host's.
enum SymbolDataType : std::int32_t {
    kBool = 0,
    kInteger = 1,
    kDouble = 2,
    kResourceId = 3,
    kString = 4,
    kTime = 5,
    kUuid = 6,
    kBlob = 7,
};

/// What is asked of a symbol in every row. The numbers are the host's.
enum SymbolTag : std::int32_t {
    TAG_MANDATORY = 6,
    TAG_PRODUCT_KEY = 15,  // tells the products of a multi-product log apart
};

class CSymbolDescriptor {
  public:
    CSymbolDescriptor(std::int32_t symbol, SymbolDataType dataType,
                      std::vector<std::int32_t> tags = {}, std::uint32_t otlLength = 0);
    /// A text of it may have any length.
    CSymbolDescriptor(std::int32_t symbol, SymbolDataType dataType, std::vector<std::int32_t> tags,
                      std::string name);

    std::int32_t GetDeltaSymbolType() const { return symbol_; }
    SymbolDataType GetDataType() const { return dataType_; }
    /// The largest length of a text in bytes. No limit unless positive as a signed number.
    std::uint32_t GetOtlLength() const { return otlLength_; }
    bool HasTag(std::int32_t tag) const;
    /// For people who read logs. Empty when it has none.
    const std::string& GetName() const { return name_; }

  private:
    std::int32_t symbol_;
    SymbolDataType dataType_;
    std::vector<std::int32_t> tags_;
    std::uint32_t otlLength_ = 0;
    std::string name_;
};

}  // namespace Kyr::Common::Logs
