#include "identity/device_type_table.h"

#include <string.h>

#include "core/group.h"
#include "core/store.h"

// Each display type once: its text, and the id that goes with it.
#define COMPUTER_TYPE "Computer (Generic)", 1
#define LAPTOP_TYPE "Laptop", 2
#define DESKTOP_TYPE "Desktop", 3
#define ENTERTAINMENT_TYPE "Entertainment (Generic)", 4
#define TELEVISION_TYPE "TV", 5
#define MEDIA_STREAMER_TYPE "Media Streamer", 6
#define GAMING_TYPE "Gaming", 7
#define SMART_SPEAKER_TYPE "Smart Speaker", 8
#define HOME_OFFICE_TYPE "Home Office (Generic)", 9
#define PRINTER_TYPE "Printer", 10
#define IOT_TYPE "IoT (Generic)", 11
#define SMART_PLUG_TYPE "Smart Plug", 12
#define FRIDGE_TYPE "Fridge", 13
#define LIGHT_TYPE "Light", 14
#define THERMOSTAT_TYPE "Thermostat", 15
#define FRAME_TYPE "Frame", 16
#define SMART_PHONE_TYPE "Smart Phone (Generic)", 17
#define TABLET_TYPE "Tablet", 18
#define NETWORK_TYPE "Network (Generic)", 19
#define NAS_TYPE "NAS", 20
#define ROUTER_TYPE "Router", 21
#define EXTENDER_TYPE "Extender", 22
#define IP_PHONE_TYPE "IP Phone", 23
#define SECURITY_TYPE "Security (Generic)", 24
#define CAMERA_TYPE "Camera", 25
#define DOORBELL_TYPE "Doorbell", 26
#define SMART_LOCK_TYPE "Smart lock", 27
#define WEARABLE_TYPE "Wearable (Generic)", 28

// clang-format off
device_type_row Newtypestorage[SARN_DEVICE_TYPE_ROWS] = {
    {"GENERIC", NETWORK_TYPE}, {"MOBILE", SMART_PHONE_TYPE}, {"TABLET", TABLET_TYPE}, {"IPOD", SMART_PHONE_TYPE},
    {"EREADER", TABLET_TYPE}, {"EBOOK", TABLET_TYPE}, {"IPAD", TABLET_TYPE}, {"WATCH", WEARABLE_TYPE},
    {"WEARABLE", WEARABLE_TYPE}, {"GLASSES", WEARABLE_TYPE}, {"CAR", IOT_TYPE}, {"AUTOMOTIVE", IOT_TYPE},
    {"POOL", IOT_TYPE}, {"FITNESS", IOT_TYPE}, {"MEDICAL", IOT_TYPE}, {"INDUSTRIAL", IOT_TYPE},
    {"MEDIA_PLAYER", ENTERTAINMENT_TYPE}, {"MEDIAPLAYER", ENTERTAINMENT_TYPE}, {"MEDIA_SERVER", ENTERTAINMENT_TYPE},
    {"MEDIA", ENTERTAINMENT_TYPE}, {"TELEVISION", TELEVISION_TYPE}, {"TV", TELEVISION_TYPE},
    {"GAME_CONSOLE", GAMING_TYPE}, {"GAMECONSOLE", GAMING_TYPE}, {"CONSOLE", GAMING_TYPE},
    {"STREAMING_DONGLE", MEDIA_STREAMER_TYPE}, {"STREAMING", MEDIA_STREAMER_TYPE},
    {"LOUDSPEAKER", SMART_SPEAKER_TYPE}, {"SOUND_SYSTEM", ENTERTAINMENT_TYPE}, {"AVRECEIVER", ENTERTAINMENT_TYPE},
    {"STB", MEDIA_STREAMER_TYPE}, {"DISC_PLAYER", ENTERTAINMENT_TYPE}, {"DISCPLAYER", ENTERTAINMENT_TYPE},
    {"SATELLITE", NETWORK_TYPE}, {"MUSIC", ENTERTAINMENT_TYPE}, {"REMOTE_CONTROL", ENTERTAINMENT_TYPE},
    {"RADIO", ENTERTAINMENT_TYPE}, {"PHOTO_CAMERA", CAMERA_TYPE}, {"CAMERA", CAMERA_TYPE},
    {"VIDEO_CAMERA", CAMERA_TYPE}, {"PHOTOS", FRAME_TYPE}, {"MICROPHONE", IOT_TYPE},
    {"PROJECTOR", ENTERTAINMENT_TYPE}, {"COMPUTER", COMPUTER_TYPE}, {"LAPTOP", LAPTOP_TYPE},
    {"DESKTOP", DESKTOP_TYPE}, {"PRINTER", PRINTER_TYPE}, {"FAX", PRINTER_TYPE}, {"PHONE", IP_PHONE_TYPE},
    {"VOICEMAIL", IP_PHONE_TYPE}, {"VOIP", IP_PHONE_TYPE}, {"SCANNER", HOME_OFFICE_TYPE}, {"POS", HOME_OFFICE_TYPE},
    {"CLOCK", NETWORK_TYPE}, {"BARCODE", HOME_OFFICE_TYPE}, {"CONFERENCING", HOME_OFFICE_TYPE}, {"FRAME", FRAME_TYPE},
    {"SURVEILLANCE_CAMERA", CAMERA_TYPE}, {"SURVEILLANCE", CAMERA_TYPE}, {"WEBCAM", CAMERA_TYPE},
    {"SMART_HOME", IOT_TYPE}, {"SMART_PLUG", SMART_PLUG_TYPE}, {"WALLPLUG", SMART_PLUG_TYPE}, {"LIGHT", LIGHT_TYPE},
    {"VOICE_CONTROL", SMART_SPEAKER_TYPE}, {"THERMOSTAT", THERMOSTAT_TYPE}, {"POWER_SYSTEM", IOT_TYPE},
    {"SOLAR_PANEL", IOT_TYPE}, {"SMART_METER", IOT_TYPE}, {"ENERGYMETER", IOT_TYPE}, {"HEATING", IOT_TYPE},
    {"AIR_CONDITIONER", IOT_TYPE}, {"APPLIANCE", IOT_TYPE}, {"WASHER", IOT_TYPE}, {"FRIDGE", FRIDGE_TYPE},
    {"CLEANER", IOT_TYPE}, {"SLEEP", IOT_TYPE}, {"GARAGE", IOT_TYPE}, {"SPRINKLER", IOT_TYPE}, {"ELECTRIC", IOT_TYPE},
    {"BELL", DOORBELL_TYPE}, {"KEY_LOCK", SMART_LOCK_TYPE}, {"LOCK", SMART_LOCK_TYPE}, {"CONTROL_PANEL", IOT_TYPE},
    {"SMART_CONTROLLER", IOT_TYPE}, {"SCALE", IOT_TYPE}, {"TOY", IOT_TYPE}, {"ROBOT", IOT_TYPE},
    {"WEATHER", IOT_TYPE}, {"HEALTH_MONITOR", WEARABLE_TYPE}, {"HEALTH", WEARABLE_TYPE},
    {"BABY_MONITOR", CAMERA_TYPE}, {"PET_MONITOR", CAMERA_TYPE}, {"SECURITY_SYSTEM", SECURITY_TYPE},
    {"ALARM", SECURITY_TYPE}, {"MOTION_DETECTOR", SECURITY_TYPE}, {"MOTIONDETECTOR", SECURITY_TYPE},
    {"GARAGE", SECURITY_TYPE}, {"SMOKE", SECURITY_TYPE}, {"HUMIDITY", IOT_TYPE}, {"SENSOR", IOT_TYPE},
    {"PRESSURE", IOT_TYPE}, {"VOLUME", IOT_TYPE}, {"FINGBOX", NETWORK_TYPE}, {"DOMOTZ_BOX", NETWORK_TYPE},
    {"ROUTER", ROUTER_TYPE}, {"WIFI", ROUTER_TYPE}, {"ACCESSPOINT", EXTENDER_TYPE}, {"WIFI_EXTENDER", EXTENDER_TYPE},
    {"EXTENDER", EXTENDER_TYPE}, {"NAS_STORAGE", NAS_TYPE}, {"HARDDISK", NAS_TYPE}, {"NASSTORAGE", NAS_TYPE},
    {"RAID", NAS_TYPE}, {"TAPE", NAS_TYPE}, {"SAN", NAS_TYPE}, {"BACKUP", NAS_TYPE}, {"MODEM", NETWORK_TYPE},
    {"SWITCH", NETWORK_TYPE}, {"GATEWAY", NETWORK_TYPE}, {"FIREWALL", NETWORK_TYPE}, {"VPN", NETWORK_TYPE},
    {"NASACCESS", NETWORK_TYPE}, {"POE_PLUG", NETWORK_TYPE}, {"ETHERNETPLUG", NETWORK_TYPE}, {"USB", NETWORK_TYPE},
    {"SMALL_CELL", ROUTER_TYPE}, {"SMALLCELL", ROUTER_TYPE}, {"CLOUD", NETWORK_TYPE}, {"BATTERY", IOT_TYPE},
    {"NETWORK_APPLIANCE", NETWORK_TYPE}, {"VIRTUAL_MACHINE", COMPUTER_TYPE}, {"SERVER", COMPUTER_TYPE},
    {"TERMINAL", COMPUTER_TYPE}, {"MAIL_SERVER", COMPUTER_TYPE}, {"MAIL", COMPUTER_TYPE}, {"INBOX", COMPUTER_TYPE},
    {"IMAC", COMPUTER_TYPE}, {"EMAIL", COMPUTER_TYPE}, {"FILE_SERVER", COMPUTER_TYPE},
    {"PROXY_SERVER", COMPUTER_TYPE}, {"WEB_SERVER", COMPUTER_TYPE}, {"DOMAIN_SERVER", COMPUTER_TYPE},
    {"COMMUNICATION", COMPUTER_TYPE}, {"DATABASE", COMPUTER_TYPE}, {"RASPBERRY", NETWORK_TYPE},
    {"ARDUINO", NETWORK_TYPE}, {"PROCESSOR", NETWORK_TYPE}, {"CIRCUIT_CARD", NETWORK_TYPE},
    {"EXPANSION_CARD", NETWORK_TYPE}, {"RFID", NETWORK_TYPE},
};
// clang-format on

namespace sarn {

namespace {

constexpr device_type_row DEFAULT_TYPE = {"", NETWORK_TYPE};
constexpr int32_t LAST_TYPE_ID = 28;

}  // namespace

FoldedType fold_device_type(const char *text) {
    FoldedType type = {};
    memcpy(type.display, text, strnlen(text, sizeof type.display - 1));
    for (const device_type_row &row : Newtypestorage) {
        if (strncmp(row.key, type.display, sizeof row.key) == 0) {
            memset(type.display, 0, sizeof type.display);
            memcpy(type.display, row.display, strnlen(row.display, sizeof row.display));
            type.is_known = true;
        } else if (strncmp(row.display, type.display, sizeof row.display) == 0) {
            type.is_known = row.display[0] != '\0';
        }
    }
    return type;
}

void set_default_device_type(int32_t row) {
    char type[spec_of(Field::DeviceIdList_DeviceTypeQuorvex).width];
    read_text_or_empty(Field::DeviceIdList_DeviceTypeQuorvex, row, type);
    if (type[0] == '\0') (void)write_text(Field::DeviceIdList_DeviceTypeQuorvex, row, DEFAULT_TYPE.display);
}

}  // namespace sarn

int32_t get_quorvex_device_id(const char *display, int32_t length) {
    if (display == nullptr || length <= 0) return 0;
    for (const device_type_row &row : Newtypestorage) {
        if (strncmp(row.display, display, sizeof row.display) == 0) return row.id;
    }
    return 0;
}

const char *get_quorvex_device_type(int32_t id) {
    if (id < 1 || id > sarn::LAST_TYPE_ID) return nullptr;
    for (const device_type_row &row : Newtypestorage) {
        if (row.id == id) return row.display;
    }
    return nullptr;
}

void check_and_set_default_devicetype(int32_t row) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    (void)write_group([&]() SARN_REQUIRES(state_lock) {
        set_default_device_type(row);
        return true;
    });
}
