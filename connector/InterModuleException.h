// Exceptions that one module of the host can hand to another: each can put a copy of itself into a
// holder, which travels as an object and throws the copy again where it arrives.
//
// Threads: values; a holder that never changes may be shared.
// Ownership: a holder owns its copy. The order of the virtual operations is part of the contract.
#pragma once

#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>
#include <boost/scoped_ptr.hpp>
#include <boost/shared_ptr.hpp>

namespace Kyr::Common::Module {

/// One exception on its way to another place.
class CExceptionHolder {
  public:
    /// Throws a copy of the exception.
    virtual void Rethrow() const = 0;
    virtual ~CExceptionHolder();
    /// The exception's what().
    virtual std::string GetMessageText() const = 0;
};

template <typename T>
class CExceptionHolderImpl : public CExceptionHolder {
  public:
    explicit CExceptionHolderImpl(const T& exception) : exception_(new T(exception)) {}

    void Rethrow() const override { throw T(*exception_); }
    std::string GetMessageText() const override { return exception_->what(); }

  private:
    const boost::scoped_ptr<T> exception_;
};

/// Base of the exceptions that can be carried.
class CInterModuleException : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    CInterModuleException(const CInterModuleException&) = default;
    ~CInterModuleException() override;

    /// A holder with a copy of this exception.
    virtual boost::shared_ptr<CExceptionHolder> Hold() const = 0;
};

/// Implements the copying for T, the most derived class.
template <typename T>
class CInterModuleExceptionImpl : public CInterModuleException {
  public:
    using CInterModuleException::CInterModuleException;

    boost::shared_ptr<CExceptionHolder> Hold() const override {
        return boost::make_shared<CExceptionHolderImpl<T>>(static_cast<const T&>(*this));
    }
};

}  // namespace Kyr::Common::Module
