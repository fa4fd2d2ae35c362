/*
 * SARN keeps the list of client devices of a home router: one row per device, found by its MAC address.
 *
 * Conventions, for every call unless its own comment says otherwise:
 *
 *  1. The rows live in the router's shared store, never in the library. The process that loads the library provides
 *     the store operations kora_* and the logger log_printf (platform/kora.h); they resolve at run time.
 *  2. A call returns an int32_t: 0, a row (0 to 255) or a count when done, a code of `sarn_result` when not. A refused
 *     call changes no device. Where several codes apply, one of them is the answer.
 *  3. Calls are thread-safe: any thread may make any call at any time, and each call gets its own result. Calls of
 *     one process never see half a rebuild; one that meets another thread's rebuild waits for it and then answers.
 *  4. Calls block until they are done. Those marked "worker" do their work on one thread that they create and join.
 *  5. Most calls pass the entry gate first: when the store's sync timestamp says so, the library's picture of the
 *     rows is built again from the store; never while it is "-1". While the store is not open a gate does nothing.
 *  6. Records are copied before they are looked at and never kept. Texts are NUL-terminated within their width; no
 *     byte past a width is ever read. A device's MAC text is six two-digit hexadecimal pairs joined by colons, either
 *     case; what follows the 17th character is ignored. IP text is a dotted quad.
 *  7. Memory of the caller stays the caller's. Pointers must be valid and not null where no code is given for null.
 *  8. A write that the store refuses is not reported, except by the calls that say so. Where the store offers groups, a
 *     call keeps all of its writes to a row or none, and a device that another process removes or replaces meanwhile
 *     counts as one without a row (a query by MAC names it: SARN_ERR_ROW_LOST_DEVICE). Some calls are several such
 *     steps: a new device's report is its row, then the report; a detail update is the findings, the display type, the
 *     composed name, the notification; a name is the user's name, then the composed name; the upgrade status is the
 *     flag, then the firmware switch.
 *
 * Caveats:
 *
 *  - glibc needs libgcc_s.so.1 for pthread_exit, loads it in sarn_init and aborts without it: an image must carry it.
 *  - Workers begin with the signal mask of their caller, so the host's handlers may run on them.
 *  - The table holds 256 devices. Above 179, rows of offline devices are freed, the longest offline first, at most ten
 *    at a time. So a device that is reported offline is freed by its own report where fewer than ten others are
 *    offline, and may be where more are. Times are compared as int32_t: from 2038 on they come before all earlier ones.
 *  - No thread may be cancelled (pthread_cancel) in a call or in a worker body: what it holds would be held for ever.
 *  - No call may be made by a thread that has a group of the store open itself: its writes would be lost, or the call
 *    would wait for that group for ever.
 *  - A process that ends in the middle of a call may leave that call's row half written where the store offers no
 *    groups of operations, and between two of the steps above where it does.
 *  - The exported variables are for reading, but for the logger's controls and mappingtablestatus. Single numbers may
 *    be read at any time, gc_epochtime_array only while no call runs. The result cells are shared by all calls of the
 *    process and hold whichever status was written last: use what the call returned.
 *  - A fork waits until no other thread is in the middle of a change. The child may go on calling; each process has its
 *    own picture of the rows. Store functions and the logger are called in the middle of calls: they must return, and
 *    neither call the library nor fork. A call from the middle of a rebuild is answered as by a library that is not
 *    initialised.
 *  - Call sarn_uninit before the library is unloaded (dlclose): nothing else closes the store.
 *  - A host function of one of these names does not replace the library's own calls; the variables are shared.
 */
#ifndef SARN_H
#define SARN_H

#include <pthread.h>
#include <stdint.h>

#if defined(__GNUC__)
#define SARN_API __attribute__((visibility("default")))
#define SARN_PACKED __attribute__((packed))
#else
#error "sarn.h: the public records are packed, which needs a compiler that knows __attribute__((packed))"
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Rows of the device table, and 32-bit words of a bitmap with one bit for each row: row r is bit r % 32 of word r / 32.
 */
enum { SARN_ROWS = 256, SARN_BITMAP_WORDS = 8 };

/* Producers whose id means more than who is speaking. */
enum {
    SARN_PRODUCER_QUIET = 10,      /* changes access and display data without a notification */
    SARN_PRODUCER_LOOKUP_ONLY = 30 /* finds devices and never creates a row */
};

/* Result codes. Where one number has several names, each call names the ones it means. */
enum sarn_result {
    SARN_OK = 0,
    SARN_STORE_FAILED = 1,     /* upgrade and access flags: the store refused a read, or the write of the flag */
    SARN_REFRESH_RUNNING = 19, /* a refresh is running already */

    SARN_ERR_ALREADY_INITIALISED = -1,
    SARN_ERR_UNREADABLE = -1, /* a row's MAC could not be read from the store */
    SARN_ERR_NOT_READY = -1,  /* not initialised: sarn_table_enquiry, sarn_device_state_info, sarn_update_pause_list */
    SARN_ERR_STALE = -1,      /* inside the free-row search: the store's timestamp is "-1" or older than ours */
    SARN_ERR_NOT_FOUND = -1,  /* check_macaddress_entry: no row holds the MAC */
    SARN_ERR_NO_TEXT = -1,    /* escapeJSON: null or empty argument */

    SARN_ERR_NOT_INITIALISED = -2,
    SARN_ERR_NOT_READABLE = -2,    /* queries: a MAC field of the row could not be read */
    SARN_ERR_UNKNOWN_DEVICE = -2,  /* display operations and query by MAC: the MAC has no row */
    SARN_ERR_UNTERMINATED = -2,    /* a text field of a record has no NUL within its width */
    SARN_ERR_TEXT = -2,            /* display operations: null text or MAC, length negative or over its limit */
    SARN_ERR_NO_MEMORY = -2,       /* display type: the scratch buffer could not be allocated */
    SARN_ERR_POST_PROCESSING = -2, /* a step of post_processor_update failed */
    SARN_ERR_SELECTOR = -2,        /* sarn_device_state_info: word count, selector or null array */

    SARN_ERR_PRODUCER = -3,

    SARN_ERR_CLEANUP = -4,
    SARN_ERR_TABLE_FULL = -4, /* no free row */

    SARN_ERR_NONE_OFFLINE = -5, /* clean-up: no row is offline */
    SARN_ERR_NOT_CROWDED = -6,  /* clean-up: fewer than 180 rows in use */
    SARN_ERR_ROW_RANGE = -7,    /* row above 255 */

    SARN_ERR_MAC = -8,
    SARN_ERR_LOOKUP_ONLY = -8,     /* producer 30 and a MAC without a row */
    SARN_ERR_ROW_LOST_DEVICE = -8, /* query by MAC: the row found no longer holds the device */

    SARN_ERR_NULL_BUFFER = -9,
    SARN_ERR_WORD_COUNT = -10,
    SARN_ERR_NULL_RECORD = -11,

    SARN_ERR_NO_ROW = -12,     /* the MAC has no row */
    SARN_ERR_UNUSED_ROW = -12, /* query by row: no device there */

    SARN_ERR_IP = -13,
    SARN_ERR_FIELD_CODE = -14,
    SARN_ERR_LENGTH = -15, /* value null, or its length not 1 to 256 */

    SARN_ERR_REBUILD = -16, /* the entry gate's rebuild failed */
    SARN_ERR_THREAD = -16,  /* the worker thread could not be created */

    SARN_ERR_DEVICE_UP = -17,
    SARN_ERR_INTERNET_DOWN = -18, /* down or unknown */

    SARN_ERR_ACL_READ = -21,
    SARN_ERR_NOTHING_CHANGED = -22,

    SARN_ERR_BUILD_RUNNING = -23,
    SARN_ERR_STORE_OPEN = -24
};

/*
 * Start and stop.
 */

/*
 * Opens the store and builds the library's picture of it. The first process after the store came up also removes rows
 * that hold a MAC twice: the row with the newest "Timestamp" stays; of equally old ones the higher row within the same
 * word of the bitmap, else the lower one; what it had not removed when it was killed no later start removes. What
 * another process reports meanwhile of a device with two rows may go with one of them. Frees rows of offline devices
 * when more than 179 rows are in use. May be called again after sarn_uninit, and then begins with an empty picture.
 *   0                             done; so also when a row could not be read: the rows before it are known
 *   SARN_ERR_ALREADY_INITIALISED  nothing done
 *   SARN_ERR_STORE_OPEN           the store cannot be opened
 *   SARN_ERR_CLEANUP              the clean-up failed
 */
SARN_API int32_t sarn_init(void);

/*
 * Closes the store after waiting for calls that are using it. Later calls answer as not initialised; those that began
 * before and come to the store after it answer as if the device were unknown.
 *   0  done        SARN_ERR_NOT_INITIALISED  nothing to close
 */
SARN_API int32_t sarn_uninit(void);

/*
 * The mapping table: which MAC holds which row, as this process sees it.
 */

/* Marks all 256 rows as not yet read ("ff:ff:ff:ff:ff:ff"). The start and every rebuild do this themselves. Returns 0.
 */
SARN_API int32_t init_mapping_table(void);

/* Logs row number and MAC text of all 256 rows at level 1. Returns 0. */
SARN_API int32_t print_mapping_table(void);

/*
 * Reads the MAC of every row from the store, and state and time of offline devices. Does not reset bitmaps and count: a
 * device that was counted before is counted again. The start and every rebuild reset them first.
 *   0 to 256                the count, which stops at 256
 *   SARN_ERR_UNREADABLE     a row could not be read (so also while the store is not open): the rows before it are known
 *   SARN_ERR_BUILD_RUNNING  another build runs in this process: answered at once, as while the host holds
 *                           mappingtablestatus at 0; or one ran while this call waited for its turn
 */
SARN_API int32_t create_mapping_table(void);

/*
 * Copies the bitmap of rows in use to `words`, which holds SARN_BITMAP_WORDS words; `word_count` says so. Gate.
 *   0                     copied
 *   SARN_ERR_NOT_READY    not initialised
 *   SARN_ERR_REBUILD      the gate failed
 *   SARN_ERR_NULL_BUFFER  `words` is null
 *   SARN_ERR_WORD_COUNT   `word_count` is not SARN_BITMAP_WORDS
 */
SARN_API int32_t sarn_table_enquiry(uint32_t *words, int32_t word_count);

/*
 * The number of rows in use. Gate.
 *   0 to 256, SARN_ERR_REBUILD, SARN_ERR_NOT_INITIALISED
 */
SARN_API int32_t get_total_sarn_entries_used(void);

/*
 * Finds the row of a MAC, or gives it the lowest free row, which counts as offline from then on when the state that
 * stands there is "DOWN" or "unknown". Gate.
 * `mac` is a writable buffer of at least 18 bytes; the letters among its first 18 bytes become upper case in place.
 *   0 to 255                  the row; for a text that is no address, a free row, which stays free
 *   SARN_ERR_REBUILD          the gate failed
 *   SARN_ERR_NOT_INITIALISED
 *   SARN_ERR_MAC              `mac` is null
 *   SARN_ERR_LOOKUP_ONLY      producer 30, and no row holds the MAC
 *   SARN_ERR_TABLE_FULL       no free row, or none found in three searches; also when a store that offers groups could
 *                             not keep the row
 */
SARN_API int32_t check_update_mapping_table(char *mac, int32_t producer_id);

/*
 * Address texts. These touch no state: thread-safe, and usable without sarn_init.
 */

/*
 * 1 for a text of exactly 17 characters that begins as sscanf scans six hexadecimal numbers of up to two characters
 * ("%02X") joined by colons, else 0; 0 for null. What follows the sixth is not looked at.
 */
SARN_API int checkMacAddr(const char *text);

/* 1 when every character is a decimal digit (the empty text too), else 0; 0 for null. */
SARN_API int valid_digit(const char *text);

/*
 * 1 for four decimal numbers of 0 to 255 between dots, else 0; 0 for null. Empty parts are skipped; a number of any
 * length counts by its value. `text` is changed: each dot that ends a number becomes NUL.
 */
SARN_API int is_valid_ip(char *text);

/*
 * Reporting a device's signature.
 */

/* What a producer learned of a device from its DHCP exchange and traffic. 560 bytes, no gaps. */
typedef struct {
    char hua[257];                 /* empty: keeps what the row holds */
    char dhcp_hostname[65];        /* empty: keeps; else also the host name and the recognised display name */
    char dhcp_vendor[65];          /* written only when not empty and dhcp_options is not empty either */
    char dhcp_options[65];         /* empty: keeps */
    char connection_interface[33]; /* always written: empty clears */
    char category[33];             /* always written: empty clears */
    char mac[18];
    char ip[16];   /* one that the store cannot convert keeps what the row holds */
    char state[8]; /* "UP", "DOWN", "unknown", ...; always written. "DOWN" and "unknown" mark the row offline */
} signature_record;

/* What update_device_signature_handler takes. */
typedef struct {
    signature_record record;
    int32_t producer_id;
} signature_request;

/*
 * Stores a report; a MAC without a row gets the lowest free one. Gate; worker.
 * `producer_id` is 0 or a multiple of ten up to 100 (negative ones too); 30 creates no row.
 *   0
 *   SARN_ERR_NULL_RECORD      `record` is null; nothing else is done
 *   SARN_ERR_REBUILD, SARN_ERR_THREAD
 *   SARN_ERR_NOT_INITIALISED
 *   SARN_ERR_PRODUCER         refused id
 *   SARN_ERR_MAC              refused text, the all-zero address too
 *   SARN_ERR_IP               refused text
 *   SARN_ERR_UNTERMINATED     another text has no NUL within its width (of mac, 17 characters count)
 *   SARN_ERR_NO_ROW           the MAC has no row and got none; also when a store that offers groups could not keep it
 * When the table is crowded, rows of offline devices are freed afterwards, whether or not a row was found.
 */
SARN_API int32_t update_device_signature(const signature_record *record, int32_t producer_id);

/*
 * Reporting how a device is connected.
 */

/* 104 bytes, no gaps. Empty texts overwrite what the row holds. */
typedef struct {
    char ssid[32];
    char mac[18];    /* the device */
    char ap_mac[18]; /* its access point; a text that is no address, or longer than one, keeps what the row holds */
    char link_rate[9];
    char download_bw[9];
    char upload_bw[9];
    char signal_strength[9];
} connected_device_record;

/* What update_connected_device_info_handler takes. */
typedef struct {
    connected_device_record record;
    int32_t producer_id;
} connected_device_request;

/*
 * Stores a report for a device that has a row. Gate; worker. `producer_id` as in update_device_signature.
 * When the table is crowded, rows of offline devices are freed afterwards.
 *   0
 *   SARN_ERR_NULL_RECORD, SARN_ERR_REBUILD, SARN_ERR_THREAD, SARN_ERR_NOT_INITIALISED, SARN_ERR_PRODUCER,
 *   SARN_ERR_MAC, SARN_ERR_UNTERMINATED  as there
 *   SARN_ERR_NO_ROW           the MAC has no row
 */
SARN_API int32_t update_connected_device_info(const connected_device_record *record, int32_t producer_id);

/*
 * Changing one field of a device.
 */

enum sarn_field_code {
    SARN_FIELD_HUA = 1, /* 1 to 4: an empty value keeps what the row holds */
    SARN_FIELD_DHCP_OPTIONS = 2,
    SARN_FIELD_DHCP_HOSTNAME = 3, /* also the host name and the recognised display name */
    SARN_FIELD_DHCP_VENDOR = 4,
    SARN_FIELD_IP = 5,    /* a text that is no address keeps what the row holds */
    SARN_FIELD_STATE = 6, /* also updates the offline bookkeeping; for a tagged device announced, even when unchanged */
    SARN_FIELD_CONNECTION_INTERFACE = 7,
    SARN_FIELD_TYPE_CUSTOM = 8,
    SARN_FIELD_NAME_CUSTOM = 9,
    SARN_FIELD_TAG = 10,
    SARN_FIELD_MODEL_CUSTOM = 11,
    SARN_FIELD_ALLOW_OR_BLOCK = 12, /* announced, but for producer 10 and negative ids */
    SARN_FIELD_SSID = 13,
    SARN_FIELD_LINK_RATE = 14,
    SARN_FIELD_DOWNLOAD_BW = 15,
    SARN_FIELD_UPLOAD_BW = 16,
    SARN_FIELD_SIGNAL_STRENGTH = 17,
    /* A MAC text with its NUL within the length; else SARN_ERR_MAC. One with characters behind it keeps what the row
       holds. */
    SARN_FIELD_AP_MAC = 18,
    SARN_FIELD_BRAND_CUSTOM = 19,
    SARN_FIELD_CATEGORY = 20,
    SARN_FIELD_UUID = 21
};

enum { SARN_VALUE_MAX = 256 };

/* What sarn_update_table_field_handler takes. */
typedef struct {
    char mac[18];
    int32_t field_code;
    char value[SARN_VALUE_MAX];
    int32_t length;
    int32_t producer_id;
} table_field_request;

/*
 * Writes one field of a device that has a row. Gate; worker. The value is text: it ends at its first NUL or after
 * `length` bytes, and holds at most 255 characters: the 256th is cut. At most 18 bytes of `mac` are looked at.
 *   0                     done; so also for an empty value (codes 1 to 4) or a text that the store cannot convert to
 *                         an address (5, 18)
 *   SARN_ERR_PRODUCER     refused id; wins over all others
 *   SARN_ERR_MAC          `mac` null or refused; a refused value of code 18
 *   SARN_ERR_FIELD_CODE   not 1 to 21
 *   SARN_ERR_LENGTH       `value` null, or `length` not 1 to SARN_VALUE_MAX
 *   SARN_ERR_REBUILD, SARN_ERR_THREAD, SARN_ERR_NOT_INITIALISED
 *   SARN_ERR_NO_ROW       the MAC has no row
 */
SARN_API int32_t sarn_update_table_field(const char *mac, int32_t field_code, const void *value, int32_t length,
                                         int32_t producer_id);

/*
 * Forgetting a device.
 */

/* What sarn_remove_macaddress_entry_handler takes. */
typedef struct {
    char mac[18];
    int32_t length; /* bytes of mac that count, at most 18 */
} removal_request;

/*
 * Resets the row of a device and frees it, unless its state is exactly "UP". Gate; worker.
 *   0
 *   SARN_ERR_MAC              `mac` null or refused
 *   SARN_ERR_THREAD, SARN_ERR_NOT_INITIALISED
 *   SARN_ERR_REBUILD          the gate failed before the removal (nothing done) or after it (the row is reset), or a
 *                             store that offers groups could not keep the removal (nothing done)
 *   SARN_ERR_NO_ROW           the MAC has no row
 *   SARN_ERR_DEVICE_UP        nothing done
 */
SARN_API int32_t sarn_remove_macaddress_entry(const char *mac);

/*
 * What device recognition found.
 */

/* 345 bytes, no gaps. Empty texts overwrite what the row holds. */
typedef struct {
    char reserved_1[65]; /* not read */
    char mac_vendor[65];
    char reserved_2[65]; /* not read */
    char model[33];
    char os[33];
    char brand[33];
    char mac[18];
    char type[33]; /* the recogniser's key, such as "SMART_PLUG" */
} device_detail_record;

/* What update_device_detail_handler takes. */
typedef struct {
    device_detail_record record;
    int32_t producer_id;
} device_detail_request;

/*
 * Stores a recogniser's findings for a device that has a row, derives display type and name from them, and, the first
 * time for a row while new-device notification is on, tells BRIX, unless the row has become another device's or free
 * meanwhile. Rebuilds whatever the sync timestamp says; worker, and two more that it starts one after the other.
 *   0                         stored; so also when the display type or name could not be derived
 *   SARN_ERR_NULL_RECORD, SARN_ERR_REBUILD, SARN_ERR_THREAD, SARN_ERR_NOT_INITIALISED, SARN_ERR_PRODUCER,
 *   SARN_ERR_MAC, SARN_ERR_UNTERMINATED, SARN_ERR_NO_ROW  as update_connected_device_info
 */
SARN_API int32_t update_device_detail(const device_detail_record *record, int32_t producer_id);

/*
 * Logs the new-device notification of a row and writes it to the store for BRIX, the router's notification agent:
 * feature 1, the row, process 4. `index` is not checked. Needs sarn_init to write.
 */
SARN_API void notifyBrixForNdn(uint32_t index);

/*
 * Display name, type, model and brand.
 */

/* What the four display handlers take; each reads its own text. */
typedef struct {
    char type[33];
    char display_name[65];
    char reserved[65]; /* not read */
    char model[33];
    char brand[33];
    char mac[18];
    int32_t producer_id;
} display_request;

/*
 * The user's name, type, model or brand for a device. Gate; worker. `length` is the caller's count of the text and is
 * only held against the limit: 64 for a name, 32 for the others; a text ends at its NUL or at the limit, whatever
 * `length` says; up to there its bytes must be readable. An empty text clears the field. A name also composes the
 * composed name anew: up to 65 characters are stored, a record shows 63. At most 18 bytes of `mac` are looked at. A
 * change is announced, but for producer 10 and negative ids, and for a type that the table of types knows.
 *   0
 *   SARN_ERR_REBUILD, SARN_ERR_THREAD
 *   SARN_ERR_TEXT             text or mac null, or length negative or over the limit
 *   SARN_ERR_NOT_INITIALISED, SARN_ERR_PRODUCER
 *   SARN_ERR_UNKNOWN_DEVICE   the MAC has no row
 *   SARN_ERR_NO_MEMORY        type alone
 *
 * Once update_device_detail has run in a process, FingPostProcessorName stays set there: a name call then recomposes
 * the composed name alone, and a model or brand call writes the empty text. While FingPostProcessorType is set, a type
 * is taken as a recogniser's: one that the table knows is stored as the recognised type and clears it, any other only
 * gives a row without one the default. Make a user's calls from another process.
 */
SARN_API int32_t update_device_displayname(const char *mac, const char *name, int32_t length, int32_t producer_id);
SARN_API int32_t update_device_displaytype(const char *mac, const char *type, int32_t length, int32_t producer_id);
SARN_API int32_t update_device_displaymodel(const char *mac, const char *model, int32_t length, int32_t producer_id);
SARN_API int32_t update_device_displaybrand(const char *mac, const char *brand, int32_t length, int32_t producer_id);

/*
 * The recogniser's second stage: display type, then display name.
 *   0
 *   SARN_ERR_POST_PROCESSING  one of the two calls failed; after a failed type the name is not attempted
 */
SARN_API int32_t post_processor_update(const char *mac, const char *type, const char *name, int32_t producer_id);

/* One recogniser's key and the display type it folds into. */
typedef struct {
    char key[64];
    char display[64];
    int32_t id; /* 1 to 28, one for each display type */
} device_type_row;

/* The id of a display type, compared exactly up to its NUL; 0 for no such type, for null, and for a length below 1. */
SARN_API int32_t get_quorvex_device_id(const char *display, int32_t length);

/* The display type of an id, or null when it is not 1 to 28. The text is the table's: neither free nor change it. */
SARN_API const char *get_quorvex_device_type(int32_t id);

/*
 * Gives a row without a recognised type the type "Network (Generic)", whether a device is there or not. Needs
 * sarn_init; else does nothing, as for a row that the store does not have.
 */
SARN_API void check_and_set_default_devicetype(int32_t row);

/*
 * Access.
 */

/* The router's access-control switch; `enable` not 0 is on. 0; SARN_STORE_FAILED; SARN_ERR_NOT_INITIALISED. */
SARN_API int32_t sarn_set_ACL(uint8_t enable);

/* 0 or 1; SARN_ERR_ACL_READ; SARN_ERR_NOT_INITIALISED. */
SARN_API int32_t sarn_get_ACL(void);

/*
 * Resumes ("allow", `state` not 0) or pauses ("block", 0) the devices of a list of `count` MAC texts; at most 18 bytes
 * of each are looked at. Each change is announced, but for producer 10 and negative ids; other producer ids are not
 * checked. Each entry passes the gate.
 *   0                         some device changed, or the list is null or empty
 *   SARN_ERR_NOT_READY        not initialised
 *   SARN_ERR_MAC              an entry is null or refused: those before it are done, those after it not looked at
 *   SARN_ERR_NOTHING_CHANGED  every device was in that state, or has no row
 */
SARN_API int32_t sarn_update_pause_list(const char *const *macs, uint8_t state, uint32_t count, int32_t producer_id);

/*
 * Firmware upgrade and weekly refresh.
 */

/* Reads the upgrade flag, 0 or 1. 0; SARN_STORE_FAILED, also for null; SARN_ERR_NOT_INITIALISED. */
SARN_API int32_t get_sarn_upgrade_status(uint8_t *status);

/*
 * Writes the upgrade flag, 0 or 1; when that makes it larger while the firmware switch is "INIT" or "init", the switch
 * becomes "switched". 0, also when the switch cannot be written; SARN_STORE_FAILED when the flag cannot be read or
 * written, or, once it is written, the switch not read; SARN_ERR_NOT_INITIALISED.
 */
SARN_API int32_t set_sarn_upgrade_status(uint8_t status);

/*
 * Asks for a forced refresh. 0; SARN_ERR_INTERNET_DOWN; SARN_REFRESH_RUNNING; SARN_ERR_NOT_INITIALISED while the store
 * is not open.
 */
SARN_API int32_t sarn_weekly_refresh_request(void);

/*
 * Reading a device.
 */

/* What DeviceIP spells when its read failed. */
#define SARN_IP_NOT_READABLE "48.48.48.48"

/*
 * All that is known of one device. Packed: 1,407 bytes, no gaps; Producerid is not aligned.
 * Bound every text by its width: it has its NUL within it, unless its read failed, in which case the field is full of
 * '0' characters. Texts are as the store holds them, cut to width - 1; what follows the NUL means nothing.
 */
typedef struct SARN_PACKED {
    char DeviceHua[256];
    char DeviceDHCPOptions[64];
    char DeviceDHCPHostname[64];
    char DeviceDHCPVendor[64];
    char DeviceHostname[64];
    char DeviceMacVendor[64];
    char DisplayNameCustom[64];
    char DisplayNameDPI[64];
    char DisplayNameQuorvex[64];
    char DeviceUUID[64];
    char DeviceBrand[32];
    char DeviceCategory[32];
    char DeviceModel[32];
    char DeviceOS[32];
    char DeviceOSVersion[32];
    char DeviceTypeCustom[33];
    char DeviceTypeDPI[32];
    char DeviceTypeQuorvex[32];
    char DisplayModelCustom[33];
    char DisplayBrandCustom[33];
    char FingResponsestatus[32];
    char DeviceConnectionInterface[32];
    char IsTagged[32];
    char ConnSSID[32];
    char DeviceMAC[18]; /* upper case, with NUL */
    char ConnAPMac[18]; /* upper case, with NUL */
    char Timestamp[16]; /* seconds since the epoch, decimal */
    char DeviceIP[16];  /* dotted quad, or SARN_IP_NOT_READABLE */
    char Devicestate[8];
    char AllowOrBlock[8]; /* "allow" or "block" */
    char DeviceLinkRate[9];
    char UploadBW[9];
    char DownloadBW[9];
    char DeviceSignalStrength[9];
    uint32_t Producerid; /* host byte order; 0 when its read failed */
} device_info;

/* What get_device_info_handler takes. */
typedef struct {
    device_info *record;
    uint32_t index;
} device_info_request;

/*
 * Fills `record` with the device of a row. Gate; worker. The record may be used again; on a code but 0 read it only
 * as far as that code's line says.
 *   0
 *   SARN_ERR_REBUILD, SARN_ERR_THREAD
 *   SARN_ERR_NULL_RECORD      `record` is null
 *   SARN_ERR_ROW_RANGE        `index` above 255
 *   SARN_ERR_NOT_INITIALISED
 *   SARN_ERR_NOT_READABLE     the row's MAC cannot be read (record untouched), or that of its access point (all but
 *                             ConnAPMac filled)
 *   SARN_ERR_UNUSED_ROW       no device in that row; record untouched
 */
SARN_API int32_t get_device_info_at_index(device_info *record, uint32_t index);

/* What get_device_info_mac_handler takes. */
typedef struct {
    device_info *record;
    char mac[18];
} device_info_mac_request;

/*
 * Fills `record` with the device of a MAC; never creates a row. Gate; worker. `mac` is not changed.
 *   0
 *   SARN_ERR_REBUILD, SARN_ERR_THREAD
 *   SARN_ERR_MAC              `mac` null or refused
 *   SARN_ERR_NULL_RECORD      `record` is null
 *   SARN_ERR_NOT_INITIALISED
 *   SARN_ERR_UNKNOWN_DEVICE   the MAC has no row
 *   SARN_ERR_NOT_READABLE     as the query by row; the record likewise
 *   SARN_ERR_ROW_LOST_DEVICE  the row found holds no device any more, or, where the store offers groups, another one;
 *                             the record as it was
 */
SARN_API int32_t get_device_info_by_mac(device_info *record, const char *mac);

/*
 * Who is there.
 */

enum sarn_state_selector { SARN_ROWS_IN_USE = 0, SARN_ROWS_UP = 1, SARN_ROWS_DOWN = 2, SARN_ROWS_FREE = 3 };

/*
 * The rows that a selector picks, by exactly "UP" and "DOWN". Gate. `words` is written only on success.
 *   0 to 256                  the number of rows
 *   SARN_ERR_SELECTOR         `words` null, `word_count` not SARN_BITMAP_WORDS, or `selector` above 3
 *   SARN_ERR_NOT_READY, SARN_ERR_REBUILD
 *   SARN_ERR_UNREADABLE       not looked for where the store tells that no MAC changed since all of them were read
 */
SARN_API int32_t sarn_device_state_info(uint32_t *words, int32_t word_count, uint32_t selector);

/*
 * The row of a MAC. Gate. `mac` is a writable buffer of at least 18 bytes, whose letters become upper case in place.
 *   0 to 255, SARN_ERR_NOT_FOUND
 *   SARN_ERR_MAC              `mac` is null
 *   SARN_ERR_REBUILD, SARN_ERR_NOT_INITIALISED
 */
SARN_API int32_t check_macaddress_entry(char *mac);

/*
 * The MAC of a row: a block of 17 characters without a NUL, to be released with free(). 17 zero bytes for a row out of
 * range; null when there is no memory. A failed gate and a library that is not initialised are logged and answered all
 * the same, from what this process knows. Gate.
 */
SARN_API char *check_macaddress_by_index(int32_t row);

/*
 * Texts for JSON strings. These touch no state: thread-safe, and usable without sarn_init. Lengths are in bytes; a NUL
 * does not end a text.
 */

/* How many of the bytes 0 to `length`, both included, are below 0x20, a quotation mark or a backslash. */
SARN_API int32_t IsJsonEncodeNeeded(const char *text, uint32_t length);

/*
 * Escapes \b \t \n \f \r \" and \\, drops other bytes below 0x20 and 0x96, copies the rest and ends with a NUL. `out`
 * holds 2 * length + 1 bytes. 0; SARN_ERR_NO_TEXT for null or a length of 0, and nothing is written.
 */
SARN_API int32_t escapeJSON(const char *text, char *out, uint32_t length);

/*
 * Undoes two-byte escapes; of an unknown one the second byte stays, and a backslash at the end is dropped. Writes at
 * most `length` bytes and no NUL: clear `out` before. Returns `out`, or null when `text` is null or the length 0, and
 * then nothing is written.
 */
SARN_API char *unescapeJSON(const char *text, char *out, uint32_t length);

/*
 * Worker bodies. A host may start one as a thread of its own on a request that stays valid until the thread ends: it
 * writes its result to the family's cell and exits with the cell's address. Each ends its thread and never returns. The
 * gate and the checks that a public call makes of its arguments before the worker starts are not theirs.
 */
SARN_API void *update_device_signature_handler(void *request);
SARN_API void *update_connected_device_info_handler(void *request);
SARN_API void *sarn_update_table_field_handler(void *request);
SARN_API void *sarn_remove_macaddress_entry_handler(void *request);
SARN_API void *update_device_detail_handler(void *request);
SARN_API void *update_devicedisplayname_handler(void *request);
SARN_API void *update_devicedisplaytype_handler(void *request);
SARN_API void *update_devicedisplaymodel_handler(void *request);
SARN_API void *update_devicedisplaybrand_handler(void *request);
SARN_API void *get_device_info_handler(void *request);
SARN_API void *get_device_info_mac_handler(void *request);

/*
 * Exported variables.
 */

extern SARN_API int32_t producer;               /* the id most recently accepted */
extern SARN_API uint8_t mappingtablestatus;     /* 0 while a build runs in this process, else 1 */
extern SARN_API int32_t sig_thread_exit_status; /* result cell: signature, connection, field, removal, queries */
extern SARN_API int32_t dd_thread_exit_status;  /* result cell: detail and display operations */

/* Who holds one of these must neither call the library nor fork. */
extern SARN_API pthread_mutex_t mutex1; /* fill, dump and build of the mapping table */
extern SARN_API pthread_mutex_t mutex2; /* a new row's entry in the mapping table */
extern SARN_API pthread_mutex_t mutex3; /* the scan of check_macaddress_entry */

/*
 * Rows that were found or reported offline, for the clean-up; each row once, with its last time; a slot with row -1 is
 * empty. A row keeps its slot until the next rebuild, until a clean-up looks at it, or until an older one takes its
 * place: one that came back meanwhile is spared where the store offers groups. All zero until sarn_init.
 */
typedef struct {
    int32_t timestamp; /* seconds since the epoch */
    int32_t row;
} gc_candidate;
extern SARN_API gc_candidate gc_epochtime_array[10];

/*
 * The two switches as the last detail update read them; then what makes a display operation the recogniser's. All 0
 * until update_device_detail.
 */
extern SARN_API uint8_t ndnEnableFlag;
extern SARN_API uint8_t ndnEventStatus;
extern SARN_API uint8_t FingPostProcessorName; /* stays 1 from the first detail update on */
extern SARN_API uint8_t FingPostProcessorType; /* cleared when a type was found in the table */

/* The recogniser's keys, in the order in which they are looked at. */
enum { SARN_DEVICE_TYPE_ROWS = 151 };
extern SARN_API device_type_row Newtypestorage[SARN_DEVICE_TYPE_ROWS];

/* Controls for the host's logger, to be set before other threads call. The library never reads them. */
extern SARN_API int32_t __log_to_console;    /* 1 */
extern SARN_API int32_t __log_level;         /* 1 */
extern SARN_API int32_t __log_to_file;       /* 0 */
extern SARN_API const char *__log_file_name; /* "/tmp/sarnlog"; which files it may be, the logger's header says */

#ifdef __cplusplus
}
#endif

#endif
