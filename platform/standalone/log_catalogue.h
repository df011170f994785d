// The texts of the numbered user messages.
#pragma once

namespace logging {

// The printf format of a code, which also tells its arguments' types; null for an unknown code. Any
// thread.
const char* user_message_format(int code);

}  // namespace logging
