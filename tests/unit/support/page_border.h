// A text at the end of readable memory: the byte after its last one is in a page that nothing may
// read, so that reading one byte too many crashes the test, with or without a sanitizer.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace kvrpc::test {

class page_border {
 public:
  page_border() : pages_(map_pages()) {
    if (pages_ == nullptr) std::abort();
  }
  ~page_border() { unmap(); }
  page_border(const page_border&) = delete;
  page_border& operator=(const page_border&) = delete;

  // Returns `chars` and a NUL, the NUL being the last byte before the border. Valid until the next
  // call.
  const char* text(const std::string& chars) { return place(chars.c_str(), chars.size() + 1); }

  // Returns `size` bytes of memory that end at the border.
  char* room(std::size_t size) {
    if (size > readable) std::abort();
    return pages_ + readable - size;
  }

 private:
  static constexpr std::size_t page = 65536;  // a multiple of the page size on every platform
  static constexpr std::size_t readable = page;

  const char* place(const char* from, std::size_t size) {
    return static_cast<const char*>(std::memcpy(room(size), from, size));
  }

#ifdef _WIN32
  static char* map_pages() {
    auto* pages = static_cast<char*>(
        VirtualAlloc(nullptr, 2 * page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD before = 0;
    if (pages == nullptr || VirtualProtect(pages + page, page, PAGE_NOACCESS, &before) == 0) {
      return nullptr;
    }
    return pages;
  }
  void unmap() { VirtualFree(pages_, 0, MEM_RELEASE); }
#else
  static char* map_pages() {
    void* pages =
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) return nullptr;
    char* first = static_cast<char*>(pages);
    return mprotect(first + page, page, PROT_NONE) == 0 ? first : nullptr;
  }
  void unmap() { munmap(pages_, 2 * page); }
#endif

  char* pages_;
};

}  // namespace kvrpc::test
