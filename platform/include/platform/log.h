#ifndef ORBA_PLATFORM_LOG_H
#define ORBA_PLATFORM_LOG_H

#include <android/log.h>

// Every line the library writes carries this tag and the "<line>:<function>(): " prefix, so a
// log reader can jump from any message to the code that wrote it. Nothing else formats the prefix.
#define ORBA_LOG_TAG "_O_EM_LOG"

// For the rare message that must carry another function's name (a caller that reuses a helper's
// wording as its own).
#define ORBA_LOG_AS(prio, func, fmt, ...) \
  __android_log_print((prio), ORBA_LOG_TAG, "%d:%s(): " fmt, __LINE__, (func), ##__VA_ARGS__)

// For the few modules whose lines carry a tag of their own (the OTP item store), so the station
// can filter them apart; the prefix stays the same.
#define ORBA_LOG_TAGGED(prio, tag, fmt, ...) \
  __android_log_print((prio), (tag), "%d:%s(): " fmt, __LINE__, __func__, ##__VA_ARGS__)

#define ORBA_LOG(prio, fmt, ...) ORBA_LOG_AS(prio, __func__, fmt, ##__VA_ARGS__)

#define ORBA_LOGV(fmt, ...) ORBA_LOG(ANDROID_LOG_VERBOSE, fmt, ##__VA_ARGS__)
#define ORBA_LOGD(fmt, ...) ORBA_LOG(ANDROID_LOG_DEBUG, fmt, ##__VA_ARGS__)
#define ORBA_LOGI(fmt, ...) ORBA_LOG(ANDROID_LOG_INFO, fmt, ##__VA_ARGS__)
#define ORBA_LOGW(fmt, ...) ORBA_LOG(ANDROID_LOG_WARN, fmt, ##__VA_ARGS__)
#define ORBA_LOGE(fmt, ...) ORBA_LOG(ANDROID_LOG_ERROR, fmt, ##__VA_ARGS__)

#endif
