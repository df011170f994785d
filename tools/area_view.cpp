#include "tools/area_view.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/host.h"
#include "tools/failure.h"

void CheckMappable(const char* path, long size, const char* if_missing) {
  const std::filesystem::path file = host_path(path);
  if (access(file.c_str(), R_OK | W_OK) != 0) {
    const int error = errno;
    if (error == ENOENT) Fail(path, ": ", if_missing);
    Fail(path, ": ", std::strerror(error));
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return;
  const auto bytes = std::filesystem::file_size(file, error);
  if (!error && bytes < static_cast<std::uintmax_t>(size)) {
    Fail(path, ": has ", bytes, " bytes, not ", size);
  }
}

AreaView::AreaView(const AreaInfo& area) {
  const bool is_file = std::string_view(area.path) == kTrajBufArea.path;
  CheckMappable(
      area.path, area.size,
      is_file ? "is missing (Vek makes it when it starts)" : "is missing (vekctl init makes it)");
  const bool opened =
      is_file ? file_.OnOpen(area.path, area.size) : device_.OnOpen(area.path, area.size);
  if (!opened) Fail(area.path, ": cannot be mapped");
  address_ = static_cast<unsigned char*>(is_file ? file_.OnGetAddr() : device_.OnGetAddr());
}
