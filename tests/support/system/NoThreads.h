// The operating system without a thread to give: the default stack of new threads is made larger
// than any address space, so that creating one really fails. glibc only.
//
// Threads: concerns all threads of the process; one at a time.
#pragma once

#include <cstddef>
#include <pthread.h>

namespace Kyr::Test {

/// No thread can be created while this lives.
class CNoThreads {
  public:
    CNoThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << (sizeof(std::size_t) * 8 - 2));
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~CNoThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    CNoThreads(const CNoThreads&) = delete;
    CNoThreads& operator=(const CNoThreads&) = delete;

  private:
    pthread_attr_t before_;
};

}  // namespace Kyr::Test
