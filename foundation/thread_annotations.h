// Clang's thread-safety annotations as macros: checked by clang with -Wthread-safety, empty on
// other compilers, so a lock's contract is written once beside the data it guards.
#pragma once

#if defined(__clang__)
#define ORVANE_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ORVANE_THREAD_ANNOTATION(x)
#endif

// A type that is a lock ("mutex") or another capability.
#define CAPABILITY(x) ORVANE_THREAD_ANNOTATION(capability(x))
// An RAII type that holds a capability for its lifetime.
#define SCOPED_CAPABILITY ORVANE_THREAD_ANNOTATION(scoped_lockable)

// Data that may be touched only while the given capability is held.
#define GUARDED_BY(x) ORVANE_THREAD_ANNOTATION(guarded_by(x))
// Pointed-to data that may be touched only while the given capability is held.
#define PT_GUARDED_BY(x) ORVANE_THREAD_ANNOTATION(pt_guarded_by(x))

// Lock ordering between capabilities.
#define ACQUIRED_BEFORE(...) ORVANE_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define ACQUIRED_AFTER(...) ORVANE_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))

// A function that must be called with the capability held (or shared).
#define REQUIRES(...) ORVANE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) ORVANE_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))

// A function that takes or gives up the capability.
#define ACQUIRE(...) ORVANE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) ORVANE_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define RELEASE(...) ORVANE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) ORVANE_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
// A function that tries to take the capability and returns the given value on success.
#define TRY_ACQUIRE(...) ORVANE_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))

// A function that must be called without the capability held.
#define EXCLUDES(...) ORVANE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
// A function that checks at run time that the capability is held.
#define ASSERT_CAPABILITY(x) ORVANE_THREAD_ANNOTATION(assert_capability(x))
// A function that returns a reference to the given capability.
#define RETURN_CAPABILITY(x) ORVANE_THREAD_ANNOTATION(lock_returned(x))

// Turns the analysis off for one function, where the locking is correct but beyond it.
#define NO_THREAD_SAFETY_ANALYSIS ORVANE_THREAD_ANNOTATION(no_thread_safety_analysis)
