#include "tools/area_view.h"

#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/host.h"
#include "tools/failure.h"

namespace {

// Says why an area cannot be mapped, as far as its file tells; device nodes have no size.
void CheckFile(const AreaInfo& area) {
  const std::filesystem::path path = host_path(area.path);
  std::error_code error;
  if (!std::filesystem::exists(path, error)) Fail(area.path, ": is missing (vekctl init makes it)");
  if (!std::filesystem::is_regular_file(path, error)) return;
  const auto size = std::filesystem::file_size(path, error);
  if (!error && size < static_cast<std::uintmax_t>(area.size)) {
    Fail(area.path, ": has ", size, " bytes, not ", area.size);
  }
}

}  // namespace

AreaView::AreaView(const AreaInfo& area) {
  const bool is_file = std::string_view(area.path) == kTrajBufArea.path;
  std::error_code error;
  if (is_file && !std::filesystem::exists(host_path(area.path), error)) {
    Fail(area.path, ": is missing (Vek makes it when it starts)");
  }
  CheckFile(area);
  const bool opened =
      is_file ? file_.OnOpen(area.path, area.size) : device_.OnOpen(area.path, area.size);
  if (!opened) Fail(area.path, ": cannot be mapped");
  address_ = static_cast<unsigned char*>(is_file ? file_.OnGetAddr() : device_.OnGetAddr());
}
