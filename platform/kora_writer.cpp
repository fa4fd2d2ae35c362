#include "kora_writer.h"

#include <errno.h>
#include <string.h>
#include <time.h>

#include "kora_changes.h"
#include "kora_effects.h"
#include "kora_fence.h"
#include "kora_open.h"
#include "kora_pause.h"
#include "kora_room.h"
#include "kora_save.h"

namespace kora {

Writer writer;

namespace {

void tell_who_writes() {
    if (environment.writing_process == nullptr) return;
    environment.writing_process->store(environment.process, std::memory_order_relaxed);
}

// Once nobody waits for this process any more; the next may have told already.
void tell_that_writing_is_over() {
    int32_t told = environment.process;
    if (environment.writing_process == nullptr) return;
    environment.writing_process->compare_exchange_strong(told, 0, std::memory_order_relaxed);
}

int begin_transaction() {
    writer = Writer{};
    if (environment.lmdb == nullptr) return ENOENT;
    MDB_txn *txn = nullptr;
    const int error = mdb_txn_begin(environment.lmdb, nullptr, 0, &txn);
    if (error != 0) return error;
    tell_who_writes();
    begin_walk(writer.walk, txn, environment.values);
    writer.is_limited = !has_room(environment, txn);
    return 0;
}

void abort_transaction() {
    close_walk(writer.walk);
    mdb_txn_abort(writer.walk.txn);
    tell_that_writing_is_over();
    writer = Writer{};
}

// By its beginning: who reads it into a short buffer sees no more.
bool is_offline(uint8_t row, int &out_error) {
    Bytes state = {};
    out_error = find_value(writer.walk, {sarn::Field::Sarnsignature_Devicestate, row}, state);
    for (const char *offline : sarn::OFFLINE_STATES) {
        const size_t length = strlen(offline);
        if (out_error == 0 && state.size >= length && memcmp(state.data, offline, length) == 0) return true;
    }
    return false;
}

int move_change_number() {
    uint64_t number = 0;
    const int error = find_change_number(writer.walk, number);
    if (error != 0) return error;
    ++number;
    writer.is_counted = true;
    return put_key(writer.walk, CHANGES_KEY, {&number, sizeof number});
}

int note_effects(Place place) {
    const Effect &effect = effect_of(place.field);
    writer.is_decided |= effect.is_decided;
    if (writer.is_counted || effect.rebuild == Rebuild::No) return 0;
    int error = 0;
    const bool is_read = effect.rebuild == Rebuild::Reads || is_offline(place.row, error);
    if (error == 0 && is_read) error = move_change_number();
    return error;
}

// A save is due when something was decided since the last one and that one is long enough ago, whoever made it; else
// `out_later` is when it will be.
int claim_save(bool &out_is_due, uint64_t &out_later) {
    uint64_t last = 0;
    const uint64_t now = save_clock();
    const int error = find_number(writer.walk, SAVED_KEY, last);
    if (error != 0 && error != MDB_NOTFOUND) return error;
    out_is_due = error == MDB_NOTFOUND || now >= next_save(last, now);
    if (out_is_due) return put_key(writer.walk, SAVED_KEY, {&now, sizeof now});
    out_later = next_save(last, now);
    return 0;
}

int commit(bool &out_is_save_due) {
    bool is_due = false;
    uint64_t later = 0;
    int error = writer.error;
    if (error == 0 && has_saved_copy() && (writer.is_decided || is_pending_save_due()))
        error = claim_save(is_due, later);
    if (error != 0) {
        abort_transaction();
        return error;
    }
    close_walk(writer.walk);
    const size_t transaction = mdb_txn_id(writer.walk.txn);
    uint64_t number = 0;
    const bool is_known = recall_change_number(transaction - 1, number);
    fence(std::memory_order_release);  // pages before the root that leads to them
    error = mdb_txn_commit(writer.walk.txn);
    tell_that_writing_is_over();
    if (error == 0 && is_known) note_change_number(transaction, number + writer.is_counted);
    writer = Writer{};
    if (error == 0 && later != 0) set_save_pending(later);  // not before: a save that runs would forget it
    out_is_save_due = error == 0 && is_due;
    return error;
}

}  // namespace

// A reader that was killed keeps its snapshot until it is looked for, one that lost its CPU gives it back in a moment,
// and one that was stopped never: so a writer that finds no room waits, but only the first of them.
int begin_writing() {
    constexpr int TRIES = 2000;
    constexpr timespec PAUSE = {0, 1'000'000};
    int error = begin_transaction();
    for (int i = 0; error == 0 && writer.is_limited && i < TRIES; ++i) {
        int dead_readers = 0;
        mdb_reader_check(environment.lmdb, &dead_readers);
        if (dead_readers == 0 && environment.is_known_full) break;
        abort_transaction();
        if (dead_readers == 0) pause_for(PAUSE);
        error = begin_transaction();
    }
    if (error == 0) environment.is_known_full = writer.is_limited;
    return error;
}

int change_value(Place place, Bytes value) {
    if (writer.error != 0) return writer.error;
    Bytes stored = {};
    writer.error = find_value(writer.walk, place, stored);
    return writer.error != 0 || is_same(stored, value) ? writer.error : store_value(place, value);
}

int store_value(Place place, Bytes value) {
    if (!writer.has_changed) writer.is_removal = is_same(value, reset_value(place.field));
    if (writer.is_limited && !writer.is_removal) return writer.error = MDB_MAP_FULL;
    writer.has_changed = true;
    writer.error = put_key(writer.walk, key_of(place), value);
    if (writer.error == 0) writer.error = note_effects(place);
    return writer.error;
}

WriteEnd end_writing(bool is_kept) {
    WriteEnd end;
    end.is_limited = writer.is_limited;
    if (is_kept && (writer.has_changed || writer.error != 0)) {
        end.error = commit(end.is_save_due);
    } else {
        end.error = writer.error;
        abort_transaction();
    }
    return end;
}

}  // namespace kora
