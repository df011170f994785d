// Catches what the real-time cycle must not do: allocate, lock, call the kernel.
//
// The heap's functions and the mutex lock are replaced in this executable; system calls are sent
// back as signals by Syscall User Dispatch, which needs no privilege.
#pragma once

#include <string>

// Prepares the calling thread; false when the kernel cannot send system calls back.
bool PrepareTrap();

// The trap springs once, on the first forbidden thing that its thread does, and lets the rest pass.
void SetTrap();
// Takes the trap away: "" or what sprang it ("malloc", "pthread_mutex_lock", "system call 39").
std::string TakeTrap();

template <class Work>
std::string Caught(const Work& work) {
  SetTrap();
  work();
  return TakeTrap();
}
