// Stands before the system's functions that create threads and locks: all code of this process
// calls these, the libraries that it has loaded included.
#include <cerrno>
#include <dlfcn.h>
#include <memory>
#include <pthread.h>
#include <utility>

#include "proofs/nth/Faults.h"

namespace {

using Kyr::Proofs::Nth::CSurroundings;
using Kyr::Proofs::Nth::IsInSurroundings;
using Kyr::Proofs::Nth::Place;
using Kyr::Proofs::Nth::Strikes;

template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

using Routine = void* (*)(void*);
using CreateThread = int (*)(pthread_t*, const pthread_attr_t*, Routine, void*);

struct Start {
    Routine routine;
    void* argument;
};

// A thread that the surroundings have created is theirs.
void* RunInSurroundings(void* parameter) {
    const CSurroundings surroundings;
    const std::unique_ptr<Start> start(static_cast<Start*>(parameter));
    return start->routine(start->argument);
}

}  // namespace

extern "C" {

// The sanitizers' own, where there is one; it stands before the system's, too.
int __interceptor_pthread_create(pthread_t*, const pthread_attr_t*, Routine, void*)
    __attribute__((weak));

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, Routine routine,
                   void* argument) {
    static const CreateThread system = __interceptor_pthread_create != nullptr
                                           ? &__interceptor_pthread_create
                                           : Next<CreateThread>("pthread_create");
    if (!IsInSurroundings()) {
        return Strikes(Place::kThread) ? EAGAIN : system(thread, attributes, routine, argument);
    }
    auto start = std::make_unique<Start>(Start{routine, argument});
    const int result = system(thread, attributes, RunInSurroundings, start.get());
    if (result == 0) {
        start.release();
    }
    return result;
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    static const auto system =
        Next<int (*)(pthread_mutex_t*, const pthread_mutexattr_t*)>("pthread_mutex_init");
    return Strikes(Place::kLock) ? ENOMEM : system(mutex, attributes);
}

int pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    static const auto system =
        Next<int (*)(pthread_cond_t*, const pthread_condattr_t*)>("pthread_cond_init");
    return Strikes(Place::kLock) ? ENOMEM : system(condition, attributes);
}
}
