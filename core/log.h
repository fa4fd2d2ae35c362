// The only way to the host's logger: SARN_LOG(Name, values...), Name being a row of log_texts.h.
#ifndef SARN_CORE_LOG_H
#define SARN_CORE_LOG_H

#include "core/log_texts.h"
#include "platform/kora.h"

#define SARN_LOG(Name, ...) \
    ::log_printf(::sarn::Name##Level, "sarnapi", __LINE__, ::sarn::Name##Text __VA_OPT__(, ) __VA_ARGS__)

#endif
