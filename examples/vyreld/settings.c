#include "settings.h"

#include <string.h>

static void provide(unsigned item, const void* record, unsigned size) {
  if (vek_pal_nvm_check_nv_exist(item) != 0) vek_pal_nvm_write(item, record, size);
}

void provide_settings(void) {
  const vek_vyrel_modes modes = {0, 0, 0};
  const vek_vyrel_devmgr_settings device_manager = {
      .enter_primary_time = 300,
      .enter_polling_time = 600,
      .exit_iot_time = 900,
      .stay_airplane_mode_time = 120,
      .handle_pending_cmd_time = 60,
      .exception_handling_time = 180,
      .profile_class = 2,
  };
  const connection_settings connection = {.retries = 3, .retry_seconds = 60};
  vek_pal_attach_apn_info internet = {.pdp_type = 3, .roaming_pdp_type = 3};
  const uint8_t file_logging = 0;
  strcpy(internet.apn_name, "internet");

  provide(MODES_ITEM, &modes, sizeof(modes));
  provide(DEVICE_MANAGER_ITEM, &device_manager, sizeof(device_manager));
  provide(CONNECTION_ITEM, &connection, sizeof(connection));
  provide(INTERNET_APN_ITEM, &internet, sizeof(internet));
  provide(FILE_LOGGING_ITEM, &file_logging, sizeof(file_logging));
}
