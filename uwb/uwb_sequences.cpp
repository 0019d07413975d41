// Whole transmit and receive parameter sets, applied in the order the test library expects and
// stopped at the first refusal. Steps already applied stay applied: the library has no undo, and
// the next test sets every parameter again anyway.

#include <stddef.h>

#include <orbafactory/uwb.h>
#include <platform/log.h>

namespace {

struct Step {
  int (*set)(uint8_t);
  uint8_t value;
  const char* failure;
};

template <size_t N>
int Apply(const Step (&steps)[N]) {
  for (const Step& step : steps) {
    if (step.set(step.value) != 0) {
      ORBA_LOGE("%s", step.failure);
      return -1;
    }
  }
  return 0;
}

}  // namespace

extern "C" {

int uwb_set_tx_param(uint8_t channel, uint8_t tx_antenna_pair, uint8_t rframe_config,
                     uint8_t payload_power, uint8_t sts_segments) {
  const Step steps[] = {
      {orba_uci_hal_set_channel_num, channel, "uwb set channel fail."},
      {orba_uci_hal_set_tx_antenna_pair, tx_antenna_pair, "uwb set tx antenna fail."},
      {orba_uci_hal_set_rframe_config, rframe_config, "uwb set rframe fail."},
      {orba_uci_hal_set_tx_adaptive_payload_power, payload_power, "uwb set tx payload power fail."},
      {orba_uci_hal_set_number_of_sts_segments, sts_segments, "uwb set segment fail."},
  };
  return Apply(steps);
}

int uwb_set_rx_param(uint8_t channel, uint8_t rx_antenna_pair) {
  const Step steps[] = {
      {orba_uci_hal_set_channel_num, channel, "uwb set channel num."},
      {orba_uci_hal_set_rx_antenna_pair, rx_antenna_pair, "uwb set rx antennal fail."},
  };
  return Apply(steps);
}

}  // extern "C"
