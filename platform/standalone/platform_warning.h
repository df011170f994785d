// Warnings of the platform itself.
#pragma once

namespace logging {

// Logs "WARN  platform: text"; straight to standard error while the log is not up. The format must
// be a literal. Any thread; real-time safe once the log is up.
void platform_warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace logging
