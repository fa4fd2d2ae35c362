/*
 * KORA, the router's key/value store, and the host's logger: what a process that loads libsarn.so must provide.
 * libkora.so provides it on LMDB; a product or a test may bring functions of its own with the same names.
 *
 * A value is addressed by table, row and field. The per-device tables have rows 0 to 255, all others row 0 alone.
 * Every call but kora_init_ex and log_printf returns 0 when done and non-zero when not, and changes nothing then. All
 * may be made from any thread (thread-safe). A handle is valid from kora_init_ex to its kora_destroy; a null or closed
 * handle is an error.
 *
 * Refused: a null argument, a size below 1, an unknown table or field, a row out of range, an operation of another type
 * than the field's, a text over KORA_TEXT_MAX bytes. Two exceptions: kora_get_ascii reads enum fields too,
 * kora_get_uint int ones. A field that no one has written reads as its reset value; "MappingComplete" as "init",
 * "FWStatusswitch" as "INIT", the others of a single row as 0 or empty.
 *
 * Reads never wait for writers. Writes of all processes wait for each other, and one that finds the store full waits
 * up to two seconds for readers that keep old pages before it fails; while that lasts, later writes fail at once.
 * Not for signal handlers. Opening, saving and logging take up to 48 KiB of the caller's stack. What goes wrong with
 * the store is logged through log_printf, level 4, source "kora".
 */
#ifndef KORA_H
#define KORA_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the store says of itself is logged under this name. */
#define KORA_LOG_SOURCE "kora"

/* The longest text that a field holds, in bytes, its NUL not counted. */
enum { KORA_TEXT_MAX = 256 };

/* The store of a process whose environment names none. */
#define KORA_DEFAULT_STORE "/run/kora/store.mdb"

/*
 * Opens the store that the environment variable KORA_STORE names (default KORA_DEFAULT_STORE; the folder is made with
 * mode 0750 and the file with 0660 where they are absent). `reserved` must be null. The store belongs on a tmpfs and is
 * the list of this start of the machine: who comes first and finds none, one from before the last restart, or a damaged
 * one (set aside with "~" behind its name) makes a new one from the saved copy. One of this start that another version
 * made is refused. All processes that share one must be 32-bit, or all 64-bit. The saved copy is the file that
 * KORA_SAVE names (default "/var/lib/kora/saved" for the default store; none for another store, or where KORA_SAVE is
 * empty). A copy that is damaged, foreign or of a newer version is set aside, and the one before it is tried. Where one
 * is there but cannot be reached now, the store is refused, since an empty list would be saved over it; the next call
 * tries again. Where the name is a folder's, a device's, a link's or anything but a file's, that stays as it is and
 * nothing is saved.
 * A file that is removed or replaced while open is noticed by the next reading group or kora_changes a few milliseconds
 * later, and opened again once no thread of the process is in a group, or waits for one. Where it cannot be, every call
 * fails until one can open it.
 * Returns a handle, or null with a line in the log when the store is not to be had.
 * A process that opens it more than once (64 times at most) shares one store with a count: each handle is destroyed on
 * its own. While one is open KORA_STORE must name the file by the same path, KORA_SAVE is not read again, and another
 * copy of this library in the process is refused.
 * After fork the child goes on with its handles; the store is opened again for it at its first call.
 */
void *kora_init_ex(void *reserved);

/*
 * Gives the handle back; the last one closes the store, once no other thread is inside an operation or a group. Where
 * the store's folder cannot be locked for it (for five seconds, or no descriptor is left), two descriptors and the
 * mapping stay until the process ends. Returns non-zero for a null or closed handle.
 */
int32_t kora_destroy(void *handle);

/*
 * Texts. A read copies at most size - 1 characters and always writes the NUL; a longer value is cut. On failure the
 * buffer is left as it was. The value set of an enum field is not enforced: producers report what they know.
 */
int32_t kora_get_ascii(void *handle, const char *table, int32_t row, const char *field, char *buffer, int32_t size);
int32_t kora_set_ascii(void *handle, const char *table, int32_t row, const char *field, const char *text);
int32_t kora_get_string(void *handle, const char *table, int32_t row, const char *field, char *buffer, int32_t size);
int32_t kora_set_string(void *handle, const char *table, int32_t row, const char *field, const char *text);
int32_t kora_get_enum(void *handle, const char *table, int32_t row, const char *field, char *buffer, int32_t size);
int32_t kora_set_enum(void *handle, const char *table, int32_t row, const char *field, const char *text);

/* Numbers. A bool stores 0 or 1 (any other value counts as 1); an int is written signed and read back unsigned. */
int32_t kora_get_bool(void *handle, const char *table, int32_t row, const char *field, uint8_t *value);
int32_t kora_set_bool(void *handle, const char *table, int32_t row, const char *field, int32_t value);
int32_t kora_set_int(void *handle, const char *table, int32_t row, const char *field, int32_t value);
int32_t kora_get_uint(void *handle, const char *table, int32_t row, const char *field, uint32_t *value);
int32_t kora_set_uint(void *handle, const char *table, int32_t row, const char *field, uint32_t value);

/* Addresses, in the order in which they are written as text. */
int32_t kora_get_mac(void *handle, const char *table, int32_t row, const char *field, uint8_t six[6]);
int32_t kora_set_mac(void *handle, const char *table, int32_t row, const char *field, const uint8_t six[6]);
int32_t kora_get_ipv4(void *handle, const char *table, int32_t row, const char *field, uint8_t four[4]);
int32_t kora_set_ipv4(void *handle, const char *table, int32_t row, const char *field, const uint8_t four[4]);

/*
 * Groups. Between kora_begin and kora_end the operations of the calling thread are one group. Reading, they see one
 * snapshot, and writes are refused. Writing, they see what the group wrote, keep all others who write out, are kept
 * whole or not at all, are invisible to others until kora_end, and are undone when the process dies. A thread has one
 * group at a time, whichever handle its operations use, and ends it itself, under the handle it was begun with, soon: a
 * writing group keeps all other writers out, a reading one keeps replaced pages from being used again, and where 32
 * threads of a process read the next one waits. kora_init_ex, kora_destroy and kora_save are refused inside; fork is
 * not to be called there. A thread that ends gives its group up; so does a fork, in the child. kora_end returns
 * non-zero when the thread has no group under this handle, or when its writes could not be kept, as after another
 * thread destroyed the handle, and then none is; with `keep` 0 it drops them. One write that fails for the store's
 * sake, and not for its arguments', is enough for that. A host may lack both; libsarn.so then makes each operation by
 * itself.
 */
enum { KORA_READING = 0, KORA_WRITING = 1 };
int32_t kora_begin(void *handle, int32_t mode);
int32_t kora_end(void *handle, int32_t keep);

/*
 * A number that moves with every change of what a rebuild of the device list reads: the MAC addresses of
 * "Sarnsignature" and "ConnectDeviceinfo", the states, the "Timestamp" of a row whose state begins with "DOWN" or
 * "unknown", the sync timestamp. It moves in the same transaction as the change, is the same for all processes, and in
 * a group is that of the group; in a writing group it moves once, with the first such change. A number read there holds
 * only if kora_end kept it: what was dropped is counted again. While it is the same, all of these are the same; another
 * store never goes on with the number of the last. A host may lack it; libsarn.so then rebuilds each time.
 */
int32_t kora_changes(void *handle, uint64_t *number);

/*
 * Saves the store now to the file that KORA_SAVE names: written beside, synced, and moved over the last copy, which
 * stays as the one before (".1"). Writes nothing when the copy says the same about all that a person or the router
 * decided: which devices there are, their custom names, types, models and brands, tags and UUIDs, allow or block, the
 * two feature switches, the upgrade flag and the firmware switch. A change of these also saves by itself, tried at most
 * once in a minute, all processes counted together, also where it fails or finds nothing to write; what changes within
 * that minute is saved by the next change that the same process makes after it, or by this call, which may be made at
 * any time. Returns non-zero when it is refused, or when there is no whole copy on the disk of what is decided by now,
 * then with a line in the log, unless that was the last one which this process logged of the copy.
 */
int32_t kora_save(void *handle);

/*
 * The process that is writing now, or 0. Others that want to write wait until it is done, without end if it was
 * stopped; reads go on. One that was killed while it wrote is told until the next write. A host may lack this call.
 */
int32_t kora_writing_process(void *handle, int32_t *process);

/* Text to bytes: six two-digit hexadecimal pairs joined by colons, either case; a dotted quad. The whole text counts.
 */
int32_t kora_string2mac(const char *text, uint8_t six[6]);
int32_t kora_string2ipv4(const char *text, uint8_t four[4]);

/*
 * Writes one line: level and source, then the formatted message without line feeds and carriage returns at its end. It
 * ends in "..." when it had more than 2,047 bytes with them, or the line more than 4,091 with what is escaped. Control
 * bytes are shown escaped. Obeys the four controls that libsarn.so exports where the program, or what it loads, is
 * linked with both libraries: __log_to_console (to stderr), __log_to_file with __log_file_name (a device, or a file of
 * one name; in a folder that everyone may write, of root or this user), and __log_level, the lowest level shown.
 * Thread-safe.
 */
void log_printf(int32_t level, const char *file, int32_t line, const char *format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 4, 5)))
#endif
    ;

#ifdef __cplusplus
}
#endif

#endif
