#pragma once

#include <stdint.h>

#include <algorithm>
#include <iterator>

struct vek_nvm_row {
  uint32_t logic_id;
  uint32_t reserved;
  const char* file_name;  // inside "/data/vyrel/"
  uint32_t need_backup;   // 1: a successful write starts the customer-data backup
  int32_t position;
  uint32_t reserved_words[2];
};
static_assert(sizeof(void*) != 4 || sizeof(vek_nvm_row) == 28);

namespace vek::nv {

enum Position : int32_t { kAp = 0, kMd = 1, kNone = 2 };

constexpr uint32_t kBackedUp = 1;

constexpr vek_nvm_row ap(uint32_t id, const char* file_name, uint32_t need_backup = 0) {
  return {id, 0, file_name, need_backup, kAp, {}};
}
constexpr vek_nvm_row nowhere(uint32_t id) { return {id, 0, nullptr, 0, kNone, {}}; }

// In lookup order. The first and the last row only bound the ids.
constexpr vek_nvm_row vek_nvm_tab[] = {
    nowhere(0),
    ap(1, "VEK_PAL_NVM_LOGICID_VYREL_MAIN_SWITCH", kBackedUp),
    ap(80, "vyrel_ec_modem"),
    ap(81, "vyrel_ecmgr_hb", kBackedUp),
    ap(82, "vyrel_ecmgr_retry", kBackedUp),
    ap(83, "vyrel_ecmgr_i2c", kBackedUp),
    ap(84, "vyrel_ecmgr_urc", kBackedUp),
    ap(85, "vyrel_pidvid", kBackedUp),
    ap(86, "vyrel_ecmgr_server_info", kBackedUp),
    ap(96, "vyrel_bootstrap_info_list_nv", kBackedUp),
    ap(97, "vyrel_bootstrap_info_fw_version_nv", kBackedUp),
    ap(98, "vyrel_bootstrap_last_retry_time_and_bs_server_nv", kBackedUp),
    ap(112, "vyrel_devmgr_modem", kBackedUp),
    ap(113, "vyrel_uicc_file_modem"),
    ap(114, "vyrel_service_diagnosis_mode", kBackedUp),
    ap(115, "vyrel_poc_mode_nv", kBackedUp),
    ap(116, "vyrel_devmgr_mbb_apn_info", kBackedUp),
    ap(128, "vyrel_tmx_cfg_nv", kBackedUp),
    ap(129, "vyrel_work_mode_nv", kBackedUp),
    ap(130, "vyrel_tls_cfg_nv", kBackedUp),
    ap(144, "vyrel_location_cellid_list"),
    ap(145, "vyrel_location_agps_cfg_nv"),
    ap(160, "vyrel_logging_config"),
    ap(161, "vyrel_logging_message"),
    ap(162, "vyrel_recovery_interval"),
    ap(163, "vyrel_recovery_table"),
    ap(164, "vyrel_recovery_level"),
    ap(176, "vyrel_esimsrv_query_nvram", kBackedUp),
    ap(177, "vyrel_esimsrv_last_query_msg_nvram"),
    ap(178, "vyrel_esimsrv_save_switch_iccid", kBackedUp),
    ap(179, "NVM_esimsrv_url"),
    ap(180, "vyrel_esimsrv_profile_check_ctrl_nv", kBackedUp),
    ap(181, "trust4.crt"),
    ap(182, "trust5.crt"),
    ap(183, "trust6.crt"),
    ap(192, "vyrel_cntmgr_traffic_info", kBackedUp),
    ap(208, "vyrel_fota_trust1.crt"),
    ap(224, "test.txt"),
    ap(225, "vyrel_flag_nv", kBackedUp),
    ap(226, "NVM_TLS_CA_2", kBackedUp),
    ap(227, "NVM_TLS_CLI_2", kBackedUp),
    ap(228, "VEK_PAL_NVM_TAVO_MQTT_CER_CONFIG", kBackedUp),
    ap(229, "VEK_PAL_NVM_TAVO_MQTT_SER_CONFIG", kBackedUp),
    ap(230, "VEK_PAL_NVM_TAVO_MQTT_TRANS_CONFIG", kBackedUp),
    ap(231, "VEK_PAL_NVM_TAVO_REBOOT_RECORD", kBackedUp),
    ap(232, "VEK_PAL_NVM_TAVO_EC_CMD_RECORD", kBackedUp),
    ap(233, "VEK_PAL_NVM_ESIMID"),
    ap(234, "VEK_PAL_NVM_BODYSAR_MODE"),
    ap(235, "VEK_PAL_NVM_BODYSAR_CLEAR_INDEX"),
    ap(236, "VEK_PAL_NVM_NV_VERSION"),
    ap(237, "VEK_PAL_NVM_LOGICID_ANTTUNER_CTRLMODE"),
    ap(238, "VEK_PAL_NVM_LOGICID_ANTTUNER_MODE"),
    ap(239, "VEK_PAL_NVM_LOGICID_ANTTUNER_VERSION"),
    ap(240, "VEK_PAL_NVM_LOGICID_ANTTUNER_TUNERCFG"),
    ap(241, "vyrel_file_logging"),
    nowhere(242),
};
static_assert(std::size(vek_nvm_tab) == 56);
static_assert(std::ranges::is_sorted(vek_nvm_tab, {}, &vek_nvm_row::logic_id));
static_assert(std::ranges::count(vek_nvm_tab, 1u, &vek_nvm_row::need_backup) == 29);

}  // namespace vek::nv
