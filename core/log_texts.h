// Every text that the library logs, once, with its level. The texts are contract: spelling, blanks and line feeds stay.
//
// Each row becomes an array of its own, <Name>Text, since compilers check the values against a format only when they
// see it whole; a table of structures would hide it.
#ifndef SARN_CORE_LOG_TEXTS_H
#define SARN_CORE_LOG_TEXTS_H

#include <stdint.h>

namespace sarn {

// L(name, level, text). Level 1 and 2: progress and notices; 4: refusals and failures.
#define SARN_LOG_TEXTS(L)                                                                                    \
    /* entry gate, start and stop */                                                                         \
    L(SyncFailed, 4, "SARN:Entry Function:%s Line:%d sync_global_data failed:%d \n")                         \
    L(AlreadyInitialised, 4, "SARN:SARN Library is already initialied \n")                                   \
    L(StoreOpenFailed, 4, "SARN:Cannot initialize KORA Library.\n")                                          \
    L(DuplicatePassBegins, 1, "SARN:Function:%s Line:%d\n")                                                  \
    L(UnauthorizedAccess, 4, "SARN:UnAuthorized Access..SARN Library not initialised \n")                    \
    L(LibraryNotInitialised, 4, "SARN:SARN Library not initialised.Operation not permitted\n")               \
    L(NotInitialised, 4, "SARN: Library not initialised.Operation not permitted\n")                          \
    /* offline clean-up */                                                                                   \
    L(SarnCleanupRemoved, 1, "SARN:SARN Clean up sucessfully removed %d entries \n")                         \
    L(SarnCleanupFailed, 4, "SARN:SARN Clean up failed status:%d\n")                                         \
    L(CleanupNotNeeded, 1, "SARN:No offline device or removal not needed by GC ")                            \
    L(CleanupRemoved, 1, "SARN:Clean up sucessfully removed %d entries \n")                                  \
    L(CleanupFailed, 4, "SARN:Clean up failed status:%d\n")                                                  \
    /* mapping table */                                                                                      \
    L(MappingRowIndex, 1, "SARN:mapping_table[%d].index:%d\n")                                               \
    L(MappingRowMac, 1, "SARN:mapping_table[%d].MACData:%s\n")                                               \
    L(MacUnreadable, 4, "SARN: MAC Address not present at this index\n")                                     \
    L(RowsInUse, 1, "SARN: Total InUse MAC Address Entries are :%d\n")                                       \
    L(LookupBegins, 1, "SARN:Entry Function:%s Line:%d Devicemac:%s\n")                                      \
    L(FreeRowFound, 1, "SARN:Entry Function:%s Line:%d index:%d \n")                                         \
    L(FindOrCreateBegins, 1, "SARN:Entry Function:%s Line:%d Devicemac:%s producer id:%d\n")                 \
    /* checks that several calls share */                                                                    \
    L(ProducerAccepted, 2, "SARN: Producer ID is acceptable :%d\n")                                          \
    L(SarnProducerRefused, 4, "SARN:SARN Illegal Producer is passed :%d\n")                                  \
    L(MacAccepted, 1, "SARN:MAC Address sanity check passed \n")                                             \
    /* signature */                                                                                          \
    L(SignatureThreadFailed, 4, "SARN:Preprocessor thread creation failed with status %d\n")                 \
    L(SignatureMacRefused, 4, "SARN:ILLEGAL MAC address passed(%s) in signature .Operation not permitted\n") \
    L(SignatureIpRefused, 4, "SARN:ILLEGAL IP address passed(%s) in signature .Operation not permitted\n")   \
    L(SignatureIpAccepted, 1, "SARN:IP Address sanity check passed \n")                                      \
    L(SignatureWithoutRow, 4, "SARN: Signature update failed status %d\n")                                   \
    /* queries */                                                                                            \
    L(QueryThreadFailed, 4, "SARN:get_info_process thread creation failed with status %d\n")                 \
    L(QueryBegins, 1, "SARN:Entry Function:%s Line:%d index:%d\n")                                           \
    L(RowUnused, 4, "SARN: NULL MAC-address :Un-Used/Un-occupied Entry has been requested\n")                \
    L(ApMacUnreadable, 4, "SARN: Connnected device MAC Address not present at this index\n")

#define SARN_LOG_TEXT(name, level, text)       \
    inline constexpr char name##Text[] = text; \
    inline constexpr int32_t name##Level = level;
SARN_LOG_TEXTS(SARN_LOG_TEXT)
#undef SARN_LOG_TEXT

}  // namespace sarn

#endif
