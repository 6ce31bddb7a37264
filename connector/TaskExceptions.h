// How a task tells the core what to do next. See docs/errors.md for who reacts how.
//
// Threads: values; thrown and caught on the task thread.
#pragma once

#include <stdexcept>
#include <string>

namespace Kyr::Connectors::Common {

/// Reconnect, then offer the same message again.
class CRetryException : public std::runtime_error {
  public:
    /// `restartNeeded`: the failure does not count towards the core's limit, so that the message is
    /// retried for as long as it keeps failing.
    CRetryException(const std::string& message, bool restartNeeded);
    CRetryException(const CRetryException&) = default;
    ~CRetryException() override;

    bool IsRestartNeeded() const { return restartNeeded_; }

  private:
    bool restartNeeded_;
};

/// Reconnect, then offer the same message again; never counted, and no task event is published.
class CRestartNeededException : public std::exception {
  public:
    explicit CRestartNeededException(std::string message);
    ~CRestartNeededException() override;
    const char* what() const noexcept override;

  private:
    std::string message_;
};

}  // namespace Kyr::Connectors::Common
