#ifndef ORBAFACTORY_UWB_H
#define ORBAFACTORY_UWB_H

#include <orbafactory/export.h>

#include <stdint.h>

ORBA_BEGIN_DECLS

/* The receive-test (packet error rate) notification of the UWB test library, as it delivers it:
 * nine little-endian 32-bit counters. The library only carries it; callers decode it. */
typedef struct per_rx_ntf_data {
  uint32_t status;
  uint32_t attempts;
  uint32_t acq_detect;
  uint32_t acq_reject;
  uint32_t rx_fail;
  uint32_t sync_cir_ready;
  uint32_t sfd_fail;
  uint32_t sfd_found;
  uint32_t phr_dec_error;
} per_rx_ntf_data;

#define UWB_PER_RX_NTF_SIZE 36

/* The last notification delivered while a receive test ran. */
ORBA_EXPORT extern per_rx_ntf_data g_per_rx_ntf_data;

/* -1: the test library or the function could not be reached; else the library's own result. */
ORBA_EXPORT int init_uwb_handle(void);
ORBA_EXPORT int close_uwb_handle(void);

ORBA_EXPORT int orba_uwb_hal_callback(const per_rx_ntf_data* data);

ORBA_EXPORT int orba_uci_hal_init(void);
ORBA_EXPORT int orba_uci_hal_deinit(void);
ORBA_EXPORT int orba_uci_hal_set_rframe_config(uint8_t rframe_config);
ORBA_EXPORT int orba_uci_hal_set_channel_num(uint8_t channel);
ORBA_EXPORT int orba_uci_hal_set_rx_antenna_pair(uint8_t pair);
ORBA_EXPORT int orba_uci_hal_set_tx_antenna_pair(uint8_t pair);
ORBA_EXPORT int orba_uci_hal_set_tx_adaptive_payload_power(uint8_t power);
ORBA_EXPORT int orba_uci_hal_set_number_of_sts_segments(uint8_t segments);
ORBA_EXPORT int orba_uci_hal_set_calibration_value(uint8_t a, uint8_t b, uint64_t value, uint8_t c);
ORBA_EXPORT int orba_uci_hal_start_rx_test(void);
ORBA_EXPORT int orba_uci_hal_stop_rx_test(per_rx_ntf_data* out);
ORBA_EXPORT int orba_uci_hal_start_tx_test(void);
ORBA_EXPORT int orba_uci_hal_stop_tx_test(void);
ORBA_EXPORT int orba_uci_hal_connectiviy_test(void);
ORBA_EXPORT int orba_uci_hal_set_rx_test_default_param(void);
ORBA_EXPORT int orba_uci_hal_set_tx_test_default_param(void);

/* Whole parameter sets, applied in a fixed order up to the first failure: 0 or -1. */
ORBA_EXPORT int uwb_set_tx_param(uint8_t channel, uint8_t tx_antenna_pair, uint8_t rframe_config,
                                 uint8_t payload_power, uint8_t sts_segments);
ORBA_EXPORT int uwb_set_rx_param(uint8_t channel, uint8_t rx_antenna_pair);

/* The calibration store library; each call loads and unloads it. */
ORBA_EXPORT int Uwb_WriteAllCalDataToPersist(uint64_t arg);
ORBA_EXPORT int Uwb_WriteSmtCalDataToPersist(uint64_t arg);
ORBA_EXPORT void set_property_for_uwb(void);

ORBA_END_DECLS

#endif
