#include "modem/at/atr/arguments.h"

#include "log/log.h"

namespace {

constexpr char kLogTag[] = "AT";

// Commas outside quotes and 1: a string may hold commas of its own.
uint32_t count_parameters(const char* text) {
  uint32_t count = 1;
  bool quoted = false;
  for (; *text != '\0'; text++) {
    if (*text == '"') quoted = !quoted;
    if (*text == ',' && !quoted) count++;
  }
  return count;
}

}  // namespace

vek::at::Arguments::Arguments(const char* word, const char* text) {
  if (text == nullptr) {
    LOG_E("%s cmd params is null %s %d", word, __func__, __LINE__);
    return;
  }
  LOG_I("%s: input params is : %s", word, text);
  count_ = count_parameters(text);
  if (!ATCmdParams_CreateFromStr(text, count_, &list_, nullptr)) {
    LOG_E("params error, ERROR: %s() -> %d", __func__, __LINE__);
    return;
  }
  LOG_I("%s: num_params = %d", word, static_cast<int>(count_));
}

const char* vek::at::Arguments::text(uint32_t index) const {
  return index < count_ ? list_->params[index].text : nullptr;
}
