// While it lives, the process's locale groups digits: 1,234,567. Shows who writes or reads numbers
// with the locale of the process.
#pragma once

#include <locale>
#include <string>

namespace Kyr::Test {

class CGroupingLocale {
  public:
    CGroupingLocale() : previous_(std::locale::global({std::locale::classic(), new Grouping})) {}
    ~CGroupingLocale() { std::locale::global(previous_); }
    CGroupingLocale(const CGroupingLocale&) = delete;
    CGroupingLocale& operator=(const CGroupingLocale&) = delete;

  private:
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };

    const std::locale previous_;
};

}  // namespace Kyr::Test
