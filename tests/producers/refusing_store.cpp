// A program's own store operations come before libkora's: these fail, as all writes do on a full store.
#include "kora.h"

extern "C" int32_t kora_set_ipv4(void *, const char *, int32_t, const char *, const uint8_t[]) { return 1; }
extern "C" int32_t kora_set_ascii(void *, const char *, int32_t, const char *, const char *) { return 1; }
extern "C" int32_t kora_set_mac(void *, const char *, int32_t, const char *, const uint8_t[]) { return 1; }
