// The product's configuration: a text that a policy replaces and that is exported as it is.
//
// A line `name=value` is a setting, which the rest of the product may heed; what else the text
// holds is kept and not looked at. The last line of a name holds.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <boost/thread/synchronized_value.hpp>

namespace Kyr::Lab::SimProduct {

class CConfiguration {
  public:
    /// `text` may hold any bytes.
    void Replace(const std::string& text) { text_ = text; }
    std::string Text() const { return text_.get(); }
    std::optional<std::string> Setting(const std::string& name) const;

  private:
    boost::synchronized_value<std::string> text_{"update-server=default\n"};
};

}  // namespace Kyr::Lab::SimProduct
