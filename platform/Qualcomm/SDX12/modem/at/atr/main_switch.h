// The feature's main switch, the first byte of a file in /etc.
#pragma once

namespace vek::at {

// Replaces the file as a whole, so that nobody ever reads it half written; what follows its first byte stays.
bool set_main_switch(bool on);

}  // namespace vek::at
