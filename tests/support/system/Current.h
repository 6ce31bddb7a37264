// The one living instance of a class whose work is called through plain functions.
//
// Threads: written where the instance is made and ends, when no function is running.
#pragma once

namespace Kyr::Test {

/// `Part` derives from it.
template <typename Part>
class CCurrent {
  public:
    CCurrent(const CCurrent&) = delete;
    CCurrent& operator=(const CCurrent&) = delete;

  protected:
    CCurrent() { current_ = static_cast<Part*>(this); }
    ~CCurrent() { current_ = nullptr; }

    static inline Part* current_ = nullptr;
};

}  // namespace Kyr::Test
