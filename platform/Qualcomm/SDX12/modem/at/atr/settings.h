// The settings items that the commands read and write themselves.
#pragma once

#include <stdint.h>

#include "vek_pal/at.h"
#include "vek_pal/nvm.h"

namespace vek::at {

constexpr unsigned kDeviceManagerItem = 112;
constexpr unsigned kModesItem = 114;
constexpr unsigned kFileLoggingItem = 241;

static_assert(sizeof(vek_vyrel_modes) == 3);
static_assert(sizeof(vek_vyrel_devmgr_settings) == 36);

template <typename Item>
bool read_item(unsigned id, Item& item) {
  item = {};  // a shorter file leaves the rest as it was
  return vek_pal_nvm_read(id, &item, sizeof item) == 0;
}

template <typename Item>
bool write_item(unsigned id, const Item& item) {
  return vek_pal_nvm_write(id, &item, sizeof item) == 0;
}

inline bool read_modes(vek_vyrel_modes& modes) { return read_item(kModesItem, modes); }
inline bool write_modes(const vek_vyrel_modes& modes) { return write_item(kModesItem, modes); }
inline bool read_device_manager(vek_vyrel_devmgr_settings& settings) { return read_item(kDeviceManagerItem, settings); }
inline bool write_device_manager(const vek_vyrel_devmgr_settings& settings) {
  return write_item(kDeviceManagerItem, settings);
}

}  // namespace vek::at
