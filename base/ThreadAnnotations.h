// What clang's thread safety analysis is told of a lock and of what it guards; nothing to other
// compilers.
//
// A member that a mutex guards says KYR_GUARDED_BY(mutex_); a private operation that is called with
// the mutex held says KYR_REQUIRES(mutex_). Builds with clang++ refuse code that breaks either.
// The analysis looks at one function at a time, and does not look into constructors, destructors
// and, for a lock taken outside of it, into a lambda.
#pragma once

#if defined(__clang__)
#define KYR_THREAD_ANNOTATION(annotation) __attribute__((annotation))
#else
#define KYR_THREAD_ANNOTATION(annotation)
#endif

/// The class is a lock; `kind` is its word in the compiler's messages.
#define KYR_CAPABILITY(kind) KYR_THREAD_ANNOTATION(capability(kind))
/// The class holds a lock from its construction to its destruction.
#define KYR_SCOPED_CAPABILITY KYR_THREAD_ANNOTATION(scoped_lockable)

/// The member is read and written with the lock held only.
#define KYR_GUARDED_BY(lock) KYR_THREAD_ANNOTATION(guarded_by(lock))
/// What the member points to is.
#define KYR_PT_GUARDED_BY(lock) KYR_THREAD_ANNOTATION(pt_guarded_by(lock))

/// The caller holds the locks, before and afterwards.
#define KYR_REQUIRES(...) KYR_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// The caller does not hold the locks.
#define KYR_EXCLUDES(...) KYR_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

/// The operation takes or releases the locks; its own object without an argument.
#define KYR_ACQUIRE(...) KYR_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define KYR_ACQUIRE_SHARED(...) KYR_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define KYR_RELEASE(...) KYR_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define KYR_RELEASE_SHARED(...) KYR_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
/// The operation has taken the lock when it returns `success`.
#define KYR_TRY_ACQUIRE(success) KYR_THREAD_ANNOTATION(try_acquire_capability(success))
/// Releases a lock in whichever way it was taken.
#define KYR_RELEASE_GENERIC(...) KYR_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))

/// The operation is beyond the analysis; a comment says why it is right.
#define KYR_NO_THREAD_SAFETY_ANALYSIS KYR_THREAD_ANNOTATION(no_thread_safety_analysis)
