// Every text that the library logs, once, with its level. The texts are contract: spelling, blanks and line feeds stay.
//
// Each row becomes an array of its own, <Name>Text, since compilers check the values against a format only when they
// see it whole; a table of structures would hide it.
#ifndef SARN_CORE_LOG_TEXTS_H
#define SARN_CORE_LOG_TEXTS_H

#include <stdint.h>

namespace sarn {

// L(name, level, text). Level 1 and 2: progress and notices; 4: refusals and failures, but for DetailMacRefused.
#define SARN_LOG_TEXTS(L)                                                                                       \
    /* entry gate, start and stop */                                                                            \
    L(SyncFailed, 4, "SARN:Entry Function:%s Line:%d sync_global_data failed:%d \n")                            \
    L(AlreadyInitialised, 4, "SARN:SARN Library is already initialied \n")                                      \
    L(StoreOpenFailed, 4, "SARN:Cannot initialize KORA Library.\n")                                             \
    L(DuplicatePassBegins, 1, "SARN:Function:%s Line:%d\n")                                                     \
    L(UnauthorizedAccess, 4, "SARN:UnAuthorized Access..SARN Library not initialised \n")                       \
    L(LibraryNotInitialised, 4, "SARN:SARN Library not initialised.Operation not permitted\n")                  \
    L(SarnLibraryNotInitialised, 4, "SARN: SARN Library not initialised.Operation not permitted\n")             \
    L(NotInitialised, 4, "SARN: Library not initialised.Operation not permitted\n")                             \
    /* offline clean-up */                                                                                      \
    L(SarnCleanupRemoved, 1, "SARN:SARN Clean up sucessfully removed %d entries \n")                            \
    L(SarnCleanupFailed, 4, "SARN:SARN Clean up failed status:%d\n")                                            \
    L(CleanupNotNeeded, 1, "SARN:No offline device or removal not needed by GC ")                               \
    L(CleanupRemoved, 1, "SARN:Clean up sucessfully removed %d entries \n")                                     \
    L(CleanupFailed, 4, "SARN:Clean up failed status:%d\n")                                                     \
    /* mapping table */                                                                                         \
    L(MappingRowIndex, 1, "SARN:mapping_table[%d].index:%d\n")                                                  \
    L(MappingRowMac, 1, "SARN:mapping_table[%d].MACData:%s\n")                                                  \
    L(MacUnreadable, 4, "SARN: MAC Address not present at this index\n")                                        \
    L(RowsInUse, 1, "SARN: Total InUse MAC Address Entries are :%d\n")                                          \
    L(LookupBegins, 1, "SARN:Entry Function:%s Line:%d Devicemac:%s\n")                                         \
    L(FreeRowFound, 1, "SARN:Entry Function:%s Line:%d index:%d \n")                                            \
    L(FindOrCreateBegins, 1, "SARN:Entry Function:%s Line:%d Devicemac:%s producer id:%d\n")                    \
    /* checks that several calls share */                                                                       \
    L(ProducerAccepted, 2, "SARN: Producer ID is acceptable :%d\n")                                             \
    L(SarnProducerRefused, 4, "SARN:SARN Illegal Producer is passed :%d\n")                                     \
    L(ProducerRefused, 4, "SARN:Illegal Producer is passed :%d\n")                                              \
    L(MacAccepted, 1, "SARN:MAC Address sanity check passed \n")                                                \
    /* signature */                                                                                             \
    L(SignatureThreadFailed, 4, "SARN:Preprocessor thread creation failed with status %d\n")                    \
    L(SignatureMacRefused, 4, "SARN:ILLEGAL MAC address passed(%s) in signature .Operation not permitted\n")    \
    L(SignatureIpRefused, 4, "SARN:ILLEGAL IP address passed(%s) in signature .Operation not permitted\n")      \
    L(SignatureIpAccepted, 1, "SARN:IP Address sanity check passed \n")                                         \
    L(SignatureWithoutRow, 4, "SARN: Signature update failed status %d\n")                                      \
    /* connection */                                                                                            \
    L(ConnectionThreadFailed, 4, "SARN:Deviceinformation thread creation failed with status %d\n")              \
    L(ConnectionMacRefused, 4,                                                                                  \
      "SARN:ILLEGAL MAC address passed(%s) in Connect device info .Operation not permitted\n")                  \
    L(ConnectionWithoutRow, 4,                                                                                  \
      "SARN:ILLEGAL MAC address passed(%s) in connected device info .Operation not permitted\n")                \
    /* single field */                                                                                          \
    L(FieldThreadFailed, 4, "SARN:signature_single_field thread creation failed with status %d\n")              \
    L(FieldMacRefused, 4, "SARN:ILLEGAL MAC address passed(%s) .Operation not permitted\n")                     \
    L(FieldCodeRefused, 4, "SARN:ILLEGAL Field code passed(%d) .Illegal operation requested\n")                 \
    L(FieldWithoutRow, 4, "SARN:sarn_update_table_field:illegal count for Table index %d\n")                    \
    L(ApMacRefused, 4, "SARN:ILLEGAL Conn MAC address passed(%s) .Operation not permitted\n")                   \
    L(AccessAnnounced, 1, "SARN:update indexCD to notify Tarrow to: %s a device\n")                             \
    /* removal */                                                                                               \
    L(RemovalThreadFailed, 4, "SARN:deletion_device_entry_thread creation failed with status %d\n")             \
    L(RemovalBegins, 1, "SARN:Entry Function:%s Line:%d devicemac:%s \n")                                       \
    L(RemovalResets, 1, " **********Going to reset signature device detail***********\n")                       \
    /* detail and new-device notification */                                                                    \
    L(DetailThreadFailed, 4, "SARN:Preprocessor Device detail thread creation failed with status %d\n")         \
    L(DetailMacRefused, 1, "SARN:ILLEGAL MAC address passed(%s)in Device Detail.Operation not permitted\n")     \
    L(DetailWithoutRow, 4, "SARN:ILLEGAL MAC address passed(%s) in device detail information\n")                \
    L(PostProcessorDone, 1, "SARN:post_processor_update completed status:%d \n")                                \
    L(NdnStatusRead, 1, "SARN : The value of ndnEventStatus = %d at index = %d \n")                             \
    L(NdnNotifies, 2, "SARN:NDN Feature Enabled by SARN! Notify BRIX ..\n")                                     \
    L(NdnNotified, 1, "SARN : ndnEventStatus is set to true at index : %d \n")                                  \
    L(NdnNotDue, 2, "SARN:Wait for SARN to Enable NDN Feature or NDN event already sent for this device ...\n") \
    L(BrixNotification, 1, "SARN: Function:%s Line:%d\n")                                                       \
    /* display name, type, model and brand */                                                                   \
    L(DisplayTypeFailed, 4, "SARN:Device Displaytype Update failed %d \n")                                      \
    L(DisplayTypeUpdated, 1, "SARN:Device Displaytype is successfully Updated\n")                               \
    L(DisplayNameFailed, 4, "SARN:Device Displayname Update failed %d \n")                                      \
    L(DisplayNameUpdated, 1, "SARN:Device Displayname is successfully Updated\n")                               \
    L(NameThreadFailed, 4, "SARN:processor Device name thread creation failed with status %d\n")                \
    L(TypeThreadFailed, 4, "SARN:Postprocessor Device type thread creation failed with status %d\n")            \
    L(CustomTextThreadFailed, 4, "SARN:Postprocessor Device name thread creation failed with status %d\n")      \
    L(NameWithoutRow, 4, "SARN:Illegeal Mac address \n")                                                        \
    L(DisplayWithoutRow, 4, "SARN:Illegeal Mac address:%s \n")                                                  \
    L(NameRow, 1, "SARN:index is %d \r\n")                                                                      \
    L(ModelRow, 2, "SARN:index is %d \r\n")                                                                     \
    L(NameAnnounced, 1, "SARN:update indexCD to notify Tarrow for CustomName change\n")                         \
    L(TypeAnnounced, 1, "SARN:update indexCD to notify Tarrow for CustomType change\n")                         \
    L(ModelAnnounced, 1, "SARN:update indexCD to notify Tarrow for CustomModel change\n")                       \
    L(BrandAnnounced, 1, "SARN:update indexCD to notify Tarrow for Custombrand change\n")                       \
    L(TypeWithoutMemory, 4, "SARN:Error! memory not allocated.")                                                \
    /* pause list */                                                                                            \
    L(PauseListBegins, 1, "SARN:Entry Function:%s Line:%d mac_count:%d state:%d, Produceid:%d \n")              \
    L(PauseAnnounced, 1, "SARN:update indexCD to notify Tarrow for pause change\n")                             \
    /* queries */                                                                                               \
    L(QueryThreadFailed, 4, "SARN:get_info_process thread creation failed with status %d\n")                    \
    L(QueryBegins, 1, "SARN:Entry Function:%s Line:%d index:%d\n")                                              \
    L(RowUnused, 4, "SARN: NULL MAC-address :Un-Used/Un-occupied Entry has been requested\n")                   \
    L(StateBitmapWord, 1, "SARN: index [%d]:value:%X \n")                                                       \
    L(ApMacUnreadable, 4, "SARN: Connnected device MAC Address not present at this index\n")

#define SARN_LOG_TEXT(name, level, text)       \
    inline constexpr char name##Text[] = text; \
    inline constexpr int32_t name##Level = level;
SARN_LOG_TEXTS(SARN_LOG_TEXT)
#undef SARN_LOG_TEXT

}  // namespace sarn

#endif
