#include "tests/realtime/trap.h"

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <ucontext.h>

#include <cerrno>
#include <cstddef>

// The C library's own names of what is replaced here. operator new and its siblings end there, too.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

struct Trap {
  // Read by the kernel at every system call of the thread.
  volatile char selector = SYSCALL_DISPATCH_FILTER_ALLOW;
  volatile bool set = false;
  const char* volatile what = nullptr;  // sprang on this
  volatile int call = -1;               // or on this system call
};
constinit thread_local Trap t_trap;

void Release() {
  t_trap.set = false;
  t_trap.selector = SYSCALL_DISPATCH_FILTER_ALLOW;
}

void Note(const char* what) {
  if (!t_trap.set) return;
  Release();
  t_trap.what = what;
}

// The system call was not made: its caller is told that there is none.
void OnSystemCall(int, siginfo_t* info, void* context) {
  Release();
  t_trap.call = info->si_syscall;
#ifdef __x86_64__
  constexpr int kResult = REG_RAX;
#else
  constexpr int kResult = REG_EAX;
#endif
  static_cast<ucontext_t*>(context)->uc_mcontext.gregs[kResult] = -ENOSYS;
}

}  // namespace

bool PrepareTrap() {
  struct sigaction action {};
  action.sa_sigaction = OnSystemCall;
  action.sa_flags = SA_SIGINFO;
  return sigaction(SIGSYS, &action, nullptr) == 0 &&
         prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, 0UL, 0UL, &t_trap.selector) == 0;
}

void SetTrap() {
  t_trap.what = nullptr;
  t_trap.call = -1;
  t_trap.set = true;
  t_trap.selector = SYSCALL_DISPATCH_FILTER_BLOCK;
}

std::string TakeTrap() {
  Release();
  if (t_trap.what != nullptr) return t_trap.what;
  return t_trap.call < 0 ? "" : "system call " + std::to_string(t_trap.call);
}

extern "C" {

void* malloc(std::size_t size) {
  Note("malloc");
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  Note("calloc");
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  Note("realloc");
  return __libc_realloc(block, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  Note("aligned_alloc");
  return __libc_memalign(alignment, size);
}

void free(void* block) {
  Note("free");
  __libc_free(block);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  using Lock = int (*)(pthread_mutex_t*);
  static const auto lock = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  Note("pthread_mutex_lock");
  return lock(mutex);
}

}  // extern "C"
