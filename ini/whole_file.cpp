#include "ini/whole_file.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40;  // in a row; Linux follows no more
constexpr mode_t kModeBits = 07777;

// An open file. A failed close is not reported: what has to be on the disk was synced before.
class Descriptor {
 public:
  Descriptor(const char* path, int flags, mode_t mode = 0)
      : fd_(open(path, flags | O_NOCTTY | O_CLOEXEC, mode)) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool valid() const { return fd_ >= 0; }
  int get() const { return fd_; }

 private:
  int fd_;
};

// Calls `transfer` until it has moved `size` bytes, its argument being how many it has moved; false
// when it fails or moves nothing.
template <class Transfer>
bool MoveAll(std::size_t size, const Transfer& transfer) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t moved = transfer(done);
    if (moved < 0 && errno == EINTR) continue;
    if (moved <= 0) return false;
    done += static_cast<std::size_t>(moved);
  }
  return true;
}

bool WriteAll(int fd, std::string_view text) {
  return MoveAll(text.size(), [&](std::size_t done) {
    return write(fd, text.data() + done, text.size() - done);
  });
}

bool CopyAll(int from, int to, std::size_t size) {
  return MoveAll(size, [&](std::size_t done) { return sendfile(to, from, nullptr, size - done); });
}

// EINVAL: the file system has nothing that could be synced.
bool Sync(int fd) {
  return fsync(fd) == 0 || errno == EINVAL;
}

enum class Result {
  kDone,
  kFailed,
  kRefused,  // this folder does not let a file be replaced
};

// What the failed call means. A shortage passes; to write in place because of it would risk the
// file.
Result ResultOfError() {
  switch (errno) {
    case EDQUOT:
    case EIO:
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOSPC:
      return Result::kFailed;
    default:
      return Result::kRefused;
  }
}

// Makes a file anew, with the owner and mode of `like` (null: those of any new file), and has it
// filled; leaves none behind unless that is done.
template <class Fill>
Result MakeFile(const std::string& path, const struct stat* like, const Fill& fill) {
  unlink(path.c_str());  // what lies there is a leftover; a link is not followed
  const Descriptor file(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, like != nullptr ? 0600 : 0666);
  if (!file.valid()) return ResultOfError();
  const int fd = file.get();
  Result result = Result::kDone;
  if (like != nullptr &&
      (fchown(fd, like->st_uid, like->st_gid) != 0 || fchmod(fd, like->st_mode & kModeBits) != 0)) {
    result = ResultOfError();
  } else if (!fill(fd)) {
    result = Result::kFailed;
  }
  if (result != Result::kDone) unlink(path.c_str());
  return result;
}

// Gives a file a second name, so that it is never without one, or copies it where files cannot be
// linked. The save does not depend on it.
void KeepFormer(const char* path, const std::string& old, const struct stat& former) {
  unlink(old.c_str());
  if (link(path, old.c_str()) == 0) return;
  const Descriptor from(path, O_RDONLY | O_NONBLOCK);
  if (!from.valid()) return;
  MakeFile(old, &former, [&](int to) {
    return CopyAll(from.get(), to, static_cast<std::size_t>(former.st_size));
  });
}

// `former`: null when the file is missing.
Result Replace(const fs::path& path, const struct stat* former, std::string_view text) {
  const std::string fresh = path.native() + ".new";
  const std::string old = path.native() + ".old";
  const fs::path folder = path.has_parent_path() ? path.parent_path() : ".";

  const Result made =
      MakeFile(fresh, former, [&](int fd) { return WriteAll(fd, text) && Sync(fd); });
  if (made != Result::kDone) return made;
  if (former != nullptr) KeepFormer(path.c_str(), old, *former);
  if (std::rename(fresh.c_str(), path.c_str()) != 0) {
    const Result result = ResultOfError();
    unlink(fresh.c_str());
    return result;
  }
  const Descriptor renamed_in(folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (renamed_in.valid()) (void)Sync(renamed_in.get());
  return Result::kDone;
}

// Where the links that a path ends in lead to, whether or not there is anything.
fs::path FollowLinks(fs::path path) {
  std::error_code none;
  for (int links = 0; links < kMaxLinks && fs::is_symlink(path, none); ++links) {
    path = path.parent_path() / fs::read_symlink(path, none);
  }
  return path;
}

// Whether the path names that file. Links into /proc lead to files that have no path.
bool Names(const fs::path& path, const struct stat& file) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0 && found.st_dev == file.st_dev &&
         found.st_ino == file.st_ino;
}

bool WriteInPlace(const char* path, std::string_view text) {
  const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK, 0666);
  if (!file.valid()) return false;
  fcntl(file.get(), F_SETFL, 0);  // only the opening must not wait
  (void)WriteAll(file.get(), text);
  return true;
}

}  // namespace

bool ReadWholeFile(const char* path, std::string& text) {
  if (path == nullptr) return false;
  const Descriptor file(path, O_RDONLY | O_NONBLOCK);
  struct stat info {};
  if (!file.valid() || fstat(file.get(), &info) != 0) return false;
  if (!S_ISREG(info.st_mode) || info.st_size > INT_MAX) return false;
  text.resize(static_cast<std::size_t>(info.st_size));
  return MoveAll(text.size(), [&](std::size_t done) {
    return read(file.get(), text.data() + done, text.size() - done);
  });
}

bool ReplaceFile(const char* path, std::string_view text) {
  if (path == nullptr || *path == '\0') return false;
  // Held open for as long as it takes, lest the reader of a FIFO be left alone between two
  // openings.
  const Descriptor target(path, O_WRONLY | O_NONBLOCK);
  const bool missing = !target.valid();
  if (missing && errno != ENOENT) return false;
  struct stat former {};
  if (!missing && fstat(target.get(), &former) != 0) return false;

  const fs::path resolved = FollowLinks(path);
  if (missing || (S_ISREG(former.st_mode) && Names(resolved, former))) {
    const Result result = Replace(resolved, missing ? nullptr : &former, text);
    if (result != Result::kRefused) return result == Result::kDone;
  }
  return WriteInPlace(path, text);
}
