// Areas as shared mappings of files, or of device nodes where there are some.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/shared_memory.h"
#include "platform/standalone/host_root.h"

namespace {

// Whether `size` bytes of the file are there to be mapped. A device node has no size of its own:
// its driver judges the mapping.
bool holds(int fd, long size) {
  struct stat info {};
  if (size <= 0 || fstat(fd, &info) != 0) return false;
  return S_ISCHR(info.st_mode) || (S_ISREG(info.st_mode) && info.st_size >= size);
}

// Makes the file at least `size` bytes long. Its blocks are reserved, so that a full disk fails
// here and not as a SIGBUS at the first write into the mapping.
bool grow(int fd, long size) {
  return size > 0 && posix_fallocate(fd, 0, size) == 0;
}

// The mapping of the first `size` bytes, or null.
void* map(int fd, long size) {
  if (!holds(fd, size)) return nullptr;
  // Populated, so that the real-time cycle does not wait for pages at its first accesses.
  void* addr = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ | PROT_WRITE,
                    MAP_SHARED | MAP_POPULATE, fd, 0);
  return addr == MAP_FAILED ? nullptr : addr;
}

void unmap(void*& addr, long& size) {
  if (addr != nullptr) munmap(addr, static_cast<std::size_t>(size));
  addr = nullptr;
  size = 0;
}

}  // namespace

bool KShm::OnOpen(const char* path, long size) {
  OnClose();
  const int fd = standalone::open_path(path, O_RDWR | O_NOCTTY);
  if (fd < 0) return false;
  addr_ = map(fd, size);
  size_ = size;
  close(fd);  // the mapping stays
  return addr_ != nullptr;
}

void KShm::OnClose() {
  unmap(addr_, size_);
}

bool Shm::OnOpen(const char* path, long size) {
  OnClose();
  const int fd = standalone::open_path(path, O_RDWR | O_CREAT | O_NOCTTY, 0666);
  if (fd < 0) return false;
  if (grow(fd, size)) addr_ = map(fd, size);
  size_ = size;
  close(fd);
  return addr_ != nullptr;
}

void Shm::OnClose() {
  unmap(addr_, size_);
}

void KShmOnInit(KShm* object) {
  object->OnClose();
}
void ShmOnInit(Shm* object) {
  object->OnClose();
}
