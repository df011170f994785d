// Shared memory: device-backed areas (KShm), file-backed areas (Shm), the rings towards the servo
// task (KACB) and the private record ring (CACB). None of the objects is copied; each belongs to
// one thread at a time.
#pragma once

#include <memory>

// An area behind a device node. Close without a successful open does nothing; an area still open at
// destruction is released then.
class KShm {
 public:
  KShm() = default;
  ~KShm() { OnClose(); }
  KShm(const KShm&) = delete;
  KShm& operator=(const KShm&) = delete;

  // Maps the first `size` bytes of the device; false when it is missing or shorter. Never creates
  // or clears anything.
  bool OnOpen(const char* path, long size);
  // Start of the mapping (page aligned), or null when not open.
  void* OnGetAddr() const { return addr_; }
  void OnClose();

 private:
  void* addr_ = nullptr;
  long size_ = 0;
};

// An area behind a plain file. As KShm, but OnOpen creates the file when its folder exists and
// grows it to `size`; bytes that are there stay.
class Shm {
 public:
  Shm() = default;
  ~Shm() { OnClose(); }
  Shm(const Shm&) = delete;
  Shm& operator=(const Shm&) = delete;

  bool OnOpen(const char* path, long size);
  void* OnGetAddr() const { return addr_; }
  void OnClose();

 private:
  void* addr_ = nullptr;
  long size_ = 0;
};

// The writing end of a ring over mapped memory. One writer and one reader, in different processes.
class KACB {
 public:
  // Takes the `size` bytes (2048) at `start` as the ring and discards what a former writer left
  // unread; false when `start` is null or not a multiple of 4, or the size is not that of a ring.
  bool OnAttach(void* start, long size);
  // Stores all `length` bytes or nothing; false when they do not fit, the positions are out of
  // range or nothing is attached. Real-time safe.
  bool OnWrite(const void* data, long length);

 private:
  unsigned char* ring_ = nullptr;
};

// The reading end of such a ring: what a servo task uses. Real-time safe.
class KACBReader {
 public:
  // As KACB, but changes nothing in the ring.
  bool OnAttach(void* start, long size);
  // Takes the oldest `length` bytes; false, taking nothing, when fewer are stored.
  bool OnRead(void* data, long length);
  // Discards everything stored.
  void OnEmpty();
  // Bytes stored now; a position out of range empties the ring and counts as 0.
  long OnGetStoreLength();

 private:
  unsigned char* ring_ = nullptr;
};

void KShmOnInit(KShm* object);
void ShmOnInit(Shm* object);
void KACBOnInit(KACB* object);

// A first-in first-out ring of records of any length, private to the process. Each record takes 4
// bytes beyond its content. One thread; only OnInitSize allocates.
class CACB {
 public:
  CACB() = default;
  ~CACB() = default;
  CACB(const CACB&) = delete;
  CACB& operator=(const CACB&) = delete;

  // Makes the storage of `size` bytes, empty; false, and nothing fits, when the size is not
  // positive or there is no memory.
  bool OnInitSize(long size);
  // Appends a record; false when it does not fit or the length is negative.
  bool WriteBuf(const unsigned char* data, long length);
  // Takes the oldest record, copies at most `length` bytes of it and returns their number; 0 when
  // empty. A negative length copies nothing.
  long ReadBuf(unsigned char* data, long length);
  // As ReadBuf for the record `position` behind the oldest, which stays; 0 when there is none.
  long PeekBuf(unsigned char* data, long length, long position) const;
  // Number of records.
  long OnGetStoreNum() const { return count_; }
  void Empty();

 private:
  std::unique_ptr<unsigned char[]> storage_;
  long size_ = 0;
  long first_ = 0;  // byte position of the oldest record
  long used_ = 0;   // bytes taken, record heads included
  long count_ = 0;  // records
  long alike_ = 0;  // length of every record; -1 when they may differ
};
