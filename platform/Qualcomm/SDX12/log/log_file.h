#pragma once

namespace vek::log {

// Adds a record to the log file, flushed and synced, after moving a full file away; nothing when no file is open.
// Called with `vek_log_mutex` held.
void append_to_log_file(const char* record);

}  // namespace vek::log
