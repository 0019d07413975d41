#include "camera_tables.h"

namespace orba::camera {

const CameraTypeRow kCameraTypes[] = {
    {"MAIN", "main", "Master"},     {"RTB", "rtb", "RTBOnly"},  {"WIDE", "wide", "Wide"},
    {"TELE", "tele", "Tele"},       {"PERI", "peri", "Periscope"},
    {"MACRO", "macro", "Macro"},    {"AUX_MAIN", "aux_main", "AuxMain"},
};
const size_t kCameraTypeCount = sizeof(kCameraTypes) / sizeof(kCameraTypes[0]);

// The commas that end most command texts keep "AT+TQ_CCM_RAW=1," from matching a command for
// "AT+TQ_CCM_RAW=10,".
const CameraAtcmdRow kCameraAtcmds[] = {
    {"AT+TQ_CCM_OTP=2,F,MAIN,1", "otp_write", "cam_f_main_awb_write_5100k_cali"},
    {"AT+TQ_CCM_OTP=2,F,MAIN,2", "otp_check", "N"},
    {"AT+TQ_CCM_OTP=2,F,MAIN,3", "otp_write", "cam_f_main_awb_write_3100k_cali"},
    {"AT+TQ_CCM_OTP=2,F,MAIN,4", "otp_check", "N"},
    {"AT+TQ_CCM_OTP=2,F,MAIN,5", "otp_write", "cam_f_main_lcs_write_5100k_cali"},
    {"AT+TQ_CCM_OTP=2,F,MAIN,6", "otp_check", "N"},
    {"AT+TQ_CCM_SINGLE=1,", "open", "N"},
    {"AT+TQ_CCM_SINGLE=2,", "auto_focus", "N"},
    {"AT+TQ_CCM_SINGLE=3,", "capture", "N"},
    {"AT+TQ_CCM_SINGLE=4,", "raw_capture", "N"},
    {"AT+TQ_CCM_SINGLE=5,", "far_focus", "N"},
    {"AT+TQ_CCM_SINGLE=6,", "near_focus", "N"},
    {"AT+TQ_CCM_SINGLE=7,", "mid_focus", "N"},
    {"AT+TQ_CCM_SINGLE=8,", "preview_capture", "N"},
    {"AT+TQ_CCM_SINGLE=0,", "stop", "N"},
    {"AT+TQ_CCM_PARA=1,", "focus_control", "N"},
    {"AT+TQ_CCM_PARA=2,", "raw_params", "N"},
    {"AT+TQ_CCM_PARA=3,", "light_factor_set", "N"},
    {"AT+TQ_CCM_PARA=4,", "light_factor_get", "N"},
    {"AT+TQ_CCM_PARA=5,", "exposure_control", "N"},
    {"AT+TQ_CCM_PDAF=1,", "pdaf_test", "N"},
    {"AT+TQ_CCM_RAW=0,", "phone_test_true", "N"},
    {"AT+TQ_CCM_RAW=1,", "phone_test_false", "N"},
    {"AT+TQ_CCM_RAW=2,", "raw_sfr", "N"},
    {"AT+TQ_CCM_RAW=3,", "raw_rn", "N"},
    {"AT+TQ_CCM_RAW=4,", "raw_dsnu", "N"},
    {"AT+TQ_CCM_RAW=5,", "raw_tnfpn", "N"},
    {"AT+TQ_CCM_RAW=6,", "raw_blvv", "N"},
    {"AT+TQ_CCM_RAW=7,", "raw_light", "N"},
    {"AT+TQ_CCM_RAW=8,", "raw_fullscan", "N"},
    {"AT+TQ_CCM_RAW=10,", "raw_distance", "N"},
    {"AT+TQ_CCM_RAW=11,", "roi_open", "N"},
    {"AT+TQ_CCM_RAW=12,", "raw_ae", "N"},
    {"AT+TQ_CCM_RAW=13,", "raw_dark", "N"},
    {"AT+TQ_CCM_RAW=14,", "raw_light_on", "N"},
    {"AT+TQ_CCM_NTC=1", "ntc_temp_read", "N"},
    {"AT+TQ_CCM_AE=1", "ae_support", "N"},
    {"AT+TQ_CCM_AE=2", "ae_cali", "N"},
    {"AT+TQ_CCM_AE=3", "ae_test", "N"},
    {"AT+TQ_CCM_BURN=1,", "get_sensor_id", "N"},
    {"AT+TQ_CCM_BURN=2,", "check_eeporm_ic", "N"},
    {"AT+TQ_CCM_BURN=3,", "check_otp_burn_ret", "N"},
    {"AT+TQ_CCM_BURN=4", "hal_reboot_start", "N"},
    {"AT+TQ_CCM_BURN=5", "hal_reboot_check", "N"},
};
const size_t kCameraAtcmdCount = sizeof(kCameraAtcmds) / sizeof(kCameraAtcmds[0]);

static_assert(sizeof(kCameraAtcmds) / sizeof(kCameraAtcmds[0]) == 44, "the AT table has 44 rows");
static_assert(sizeof(kCameraTypes) / sizeof(kCameraTypes[0]) == 7, "seven camera types");

}  // namespace orba::camera
