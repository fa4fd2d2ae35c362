#include "kora_transaction.h"

#include "kora_save.h"

namespace kora {

namespace {

Trouble reading_trouble = {"read"};
Trouble writing_trouble = {"write"};

// The group's first change ends its look at the snapshot.
Result change_after_looking(Place place, Bytes value) {
    Bytes stored = {};
    const int error = find_value(group_walk(), place, stored);
    if (error == 0 && is_same(stored, value)) return DONE;
    leave_snapshot(*group.reader);
    group.reader = nullptr;
    return (error == 0 ? store_value(place, value) : change_value(place, value)) == 0 ? DONE : FAILED;
}

Result write_in_group(const void *handle, Place place, Bytes value) {
    if (group.mode == GroupMode::Reading || !is_open(handle)) return REFUSED;
    if (group.reader != nullptr) return change_after_looking(place, value);
    return change_value(place, value) == 0 ? DONE : FAILED;
}

Result write_alone(const void *handle, Place place, Bytes value) {
    WriteEnd end;
    {
        const Lock lock(writing);
        if (!is_open(handle)) return REFUSED;
        end.error = begin_writing();
        if (end.error == 0) {
            (void)change_value(place, value);
            end = end_writing(true);
        }
    }
    const Result result = report_writing(end);
    if (end.is_save_due) save_by_itself(handle);
    return result;
}

}  // namespace

Reader *enter_snapshot(const void *handle, Result &out_why_not) {
    out_why_not = FAILED;
    if (!make_usable()) return nullptr;
    Reader &reader = take_reader();
    const bool has_handle = is_open(handle);
    const int error = has_handle ? begin_snapshot(environment, reader) : 0;
    if (has_handle && error == 0) return &reader;
    give_reader(reader);
    out_why_not = has_handle ? report_reading(error) : REFUSED;
    return nullptr;
}

void leave_snapshot(Reader &reader) {
    end_snapshot(reader);
    give_reader(reader);
}

Result report_reading(int error) { return report(reading_trouble, error); }

Result report_writing(const WriteEnd &end) {
    return end.error == 0 && end.is_limited ? DONE : report(writing_trouble, end.error);
}

Result write_value(const void *handle, Place place, Bytes value) {
    if (is_in_group()) return write_in_group(handle, place, value);
    bool is_there = false;
    const Result result = read_value(handle, place, [&](Bytes stored) {
        is_there = is_same(stored, value);
        return 0;
    });
    return result != DONE || is_there ? result : write_alone(handle, place, value);
}

}  // namespace kora
