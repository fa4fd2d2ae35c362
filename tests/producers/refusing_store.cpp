// A program's own store operations come before libkora's: this one fails, and the library does not notice.
#include "kora.h"

extern "C" int32_t kora_set_ipv4(void *, const char *, int32_t, const char *, const uint8_t[]) { return 1; }
