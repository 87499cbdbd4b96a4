#include "fuzz/Work.h"

#if defined(__SANITIZE_ADDRESS__)
#define QZMTRAW_FUZZ_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QZMTRAW_FUZZ_ASAN 1
#endif
#endif

#ifdef QZMTRAW_FUZZ_ASAN
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>

#include <cstdlib>
#include <new>
#endif

namespace {

std::uint64_t stepCount = 0;
std::int64_t libraryBytes = 0;

}  // namespace

namespace qzmtraw::fuzz {

std::uint64_t StepCount() { return stepCount; }
std::int64_t LibraryBytes() { return libraryBytes; }

}  // namespace qzmtraw::fuzz

// The compiler puts a call on every edge of what is built with -fsanitize-coverage=trace-pc, and the linker leads it
// here, because libFuzzer has a function of that name that does nothing.
extern "C" void __wrap___sanitizer_cov_trace_pc() { ++stepCount; }  // NOLINT

#ifdef QZMTRAW_FUZZ_ASAN

namespace {

[[maybe_unused]] const int kHooksInstalled = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void* /*memory*/, std::size_t size) {
      if (qzmtraw::fuzz::InLibrary::IsInside()) libraryBytes += static_cast<std::int64_t>(size);
    },
    [](const volatile void* memory) {
      if (!qzmtraw::fuzz::InLibrary::IsInside() || memory == nullptr) return;
      libraryBytes -= static_cast<std::int64_t>(__sanitizer_get_allocated_size(memory));
    });

}  // namespace

#else

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  if (qzmtraw::fuzz::InLibrary::IsInside()) libraryBytes += static_cast<std::int64_t>(malloc_usable_size(memory));
  return memory;
}

void operator delete(void* memory) noexcept {
  if (qzmtraw::fuzz::InLibrary::IsInside()) libraryBytes -= static_cast<std::int64_t>(malloc_usable_size(memory));
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

#endif
