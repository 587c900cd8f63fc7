// The arguments of a feature command, read with the records that all of these commands write about them.
#pragma once

#include <stdint.h>

#include "vek_pal/at_params.h"

namespace vek::at {

class Arguments {
 public:
  // `word` names the command in the records; it and `text` outlive this.
  Arguments(const char* word, const char* text);
  ~Arguments() { ATCmdParams_Destroy(list_); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  // False when there is no text, or it is no list of numbers and quoted strings.
  explicit operator bool() const { return list_ != nullptr; }
  uint32_t count() const { return count_; }

  bool number(uint32_t index, uint32_t& value) const { return ATCmdParams_GetUINT32(list_, index, 1, &value) != 0; }
  // The string at `index`, null when something else stands there.
  const char* text(uint32_t index) const;

 private:
  uint32_t count_ = 0;
  ATCmdParams* list_ = nullptr;
};

}  // namespace vek::at
