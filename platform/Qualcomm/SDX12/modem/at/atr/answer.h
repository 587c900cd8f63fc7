// How a handler answers its command: once, and says so with its result.
#pragma once

namespace vek::at {

constexpr int kUnanswered = 0;  // the dispatcher answers the error
constexpr int kAnswered = 1;

// The success answer, without text.
int succeed();

// The success answer with a text of at most 255 characters.
int succeed(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vek::at
