// The areas with one mapping a file, however often it is opened. ThreadSanitizer knows memory by
// its address: what two mappings of one file do to each other is hidden from it. These definitions
// take the place of the platform's, which so are not linked.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <map>
#include <mutex>
#include <string>

#include "platform/shared_memory.h"
#include "platform/standalone/host_root.h"

namespace {

// Null when there is no such file and none is to be made. A mapping lasts as long as the process.
void* TheMapping(const char* path, long size, bool create) {
  static std::mutex mutex;
  static std::map<std::string, void*> mappings;
  const std::lock_guard lock(mutex);
  if (const auto known = mappings.find(path); known != mappings.end()) return known->second;
  const int fd = standalone::open_path(path, create ? O_RDWR | O_CREAT : O_RDWR, 0600);
  if (fd < 0 || (create && ftruncate(fd, size) != 0)) return nullptr;
  const auto length = static_cast<std::size_t>(size);
  void* const mapping = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  return mapping == MAP_FAILED ? nullptr : mappings[path] = mapping;
}

}  // namespace

bool KShm::OnOpen(const char* path, long size) {
  addr_ = TheMapping(path, size_ = size, false);
  return addr_ != nullptr;
}
bool Shm::OnOpen(const char* path, long size) {
  addr_ = TheMapping(path, size_ = size, true);
  return addr_ != nullptr;
}
void KShm::OnClose() {
  addr_ = nullptr;
}
void Shm::OnClose() {
  addr_ = nullptr;
}
void KShmOnInit(KShm* object) {
  object->OnClose();
}
void ShmOnInit(Shm* object) {
  object->OnClose();
}
