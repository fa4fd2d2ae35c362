#include "kora_report.h"

#include <lmdb.h>
#include <stdarg.h>
#include <stdio.h>

#include "kora.h"

namespace kora {

namespace {

constexpr int32_t LOG_LEVEL = 4;

const char *text_of(int error) {
    if (error == MDB_MAP_FULL) return "it is full, or a stopped reader keeps old pages; what it held is intact";
    if (error == MDB_READERS_FULL) return "too many readers";
    return mdb_strerror(error);
}

}  // namespace

bool refuse(Refusal &out_why, const char *format, ...) {
    va_list values;
    va_start(values, format);
    vsnprintf(out_why.text, sizeof out_why.text, format, values);
    va_end(values);
    return false;
}

void note(Refusal &out_why, const char *format, ...) {
    if (out_why.note_count == Refusal::NOTE_MAX) return;
    va_list values;
    va_start(values, format);
    vsnprintf(out_why.notes[out_why.note_count++], sizeof out_why.text, format, values);
    va_end(values);
}

void log_refusal(const Refusal &why) {
    for (int i = 0; i < why.note_count; ++i) log_printf(LOG_LEVEL, KORA_LOG_SOURCE, __LINE__, "KORA: %s", why.notes[i]);
    if (why.text[0] != '\0') log_printf(LOG_LEVEL, KORA_LOG_SOURCE, __LINE__, "KORA: %s", why.text);
}

Result report(Trouble &trouble, int error) {
    if (error == trouble.code.load(std::memory_order_relaxed)) return error == 0 ? DONE : FAILED;
    if (trouble.code.exchange(error, std::memory_order_relaxed) != error && error != 0) {
        log_printf(LOG_LEVEL, KORA_LOG_SOURCE, __LINE__, "KORA: cannot %s the store: %s", trouble.what, text_of(error));
    }
    return error == 0 ? DONE : FAILED;
}

}  // namespace kora
