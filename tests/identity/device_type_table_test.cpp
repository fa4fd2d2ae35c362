// The groups of keys by display type, told apart from the order of the table: a key that moved, is missing or folds
// into another type shows in one of the two.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "include/sarn.h"

namespace {

struct Group {
    const char *display;
    const char *keys;
};

constexpr Group GROUPS[] = {
    {"Computer (Generic)",
     "COMPUTER VIRTUAL_MACHINE SERVER TERMINAL MAIL_SERVER MAIL INBOX IMAC EMAIL "
     "FILE_SERVER PROXY_SERVER WEB_SERVER DOMAIN_SERVER COMMUNICATION DATABASE"},
    {"Laptop", "LAPTOP"},
    {"Desktop", "DESKTOP"},
    {"Entertainment (Generic)",
     "MEDIA_PLAYER MEDIAPLAYER MEDIA_SERVER MEDIA SOUND_SYSTEM AVRECEIVER DISC_PLAYER "
     "DISCPLAYER MUSIC REMOTE_CONTROL RADIO PROJECTOR"},
    {"TV", "TELEVISION TV"},
    {"Media Streamer", "STREAMING_DONGLE STREAMING STB"},
    {"Gaming", "GAME_CONSOLE GAMECONSOLE CONSOLE"},
    {"Smart Speaker", "LOUDSPEAKER VOICE_CONTROL"},
    {"Home Office (Generic)", "SCANNER POS BARCODE CONFERENCING"},
    {"Printer", "PRINTER FAX"},
    {"IoT (Generic)",
     "CAR AUTOMOTIVE POOL FITNESS MEDICAL INDUSTRIAL MICROPHONE SMART_HOME POWER_SYSTEM "
     "SOLAR_PANEL SMART_METER ENERGYMETER HEATING AIR_CONDITIONER APPLIANCE WASHER CLEANER "
     "SLEEP GARAGE SPRINKLER ELECTRIC CONTROL_PANEL SMART_CONTROLLER SCALE TOY ROBOT "
     "WEATHER HUMIDITY SENSOR PRESSURE VOLUME BATTERY"},
    {"Smart Plug", "SMART_PLUG WALLPLUG"},
    {"Fridge", "FRIDGE"},
    {"Light", "LIGHT"},
    {"Thermostat", "THERMOSTAT"},
    {"Frame", "PHOTOS FRAME"},
    {"Smart Phone (Generic)", "MOBILE IPOD"},
    {"Tablet", "TABLET EREADER EBOOK IPAD"},
    {"Network (Generic)",
     "GENERIC SATELLITE CLOCK FINGBOX DOMOTZ_BOX MODEM SWITCH GATEWAY FIREWALL VPN "
     "NASACCESS POE_PLUG ETHERNETPLUG USB CLOUD NETWORK_APPLIANCE RASPBERRY ARDUINO "
     "PROCESSOR CIRCUIT_CARD EXPANSION_CARD RFID"},
    {"NAS", "NAS_STORAGE HARDDISK NASSTORAGE RAID TAPE SAN BACKUP"},
    {"Router", "ROUTER WIFI SMALL_CELL SMALLCELL"},
    {"Extender", "ACCESSPOINT WIFI_EXTENDER EXTENDER"},
    {"IP Phone", "PHONE VOICEMAIL VOIP"},
    {"Security (Generic)", "SECURITY_SYSTEM ALARM MOTION_DETECTOR MOTIONDETECTOR GARAGE SMOKE"},
    {"Camera",
     "PHOTO_CAMERA CAMERA VIDEO_CAMERA SURVEILLANCE_CAMERA SURVEILLANCE WEBCAM "
     "BABY_MONITOR PET_MONITOR"},
    {"Doorbell", "BELL"},
    {"Smart lock", "KEY_LOCK LOCK"},
    {"Wearable (Generic)", "WATCH WEARABLE GLASSES HEALTH_MONITOR HEALTH"},
};

}  // namespace

TEST(DeviceTypeTable, KeysOfEachGroupStandInOrder) {
    int rows = 0;
    int32_t id = 0;
    for (const Group &group : GROUPS) {
        ++id;
        std::string keys;
        for (const device_type_row &row : Newtypestorage) {
            if (row.id != id) continue;
            keys += (keys.empty() ? "" : " ") + std::string(row.key);
            EXPECT_STREQ(row.display, group.display) << row.key;
            ++rows;
        }
        EXPECT_EQ(keys, group.keys) << id;
        EXPECT_EQ(get_quorvex_device_id(group.display, 1), id);
        EXPECT_STREQ(get_quorvex_device_type(id), group.display);
    }
    EXPECT_EQ(rows, SARN_DEVICE_TYPE_ROWS);
    EXPECT_STREQ(Newtypestorage[0].key, "GENERIC");
    EXPECT_STREQ(Newtypestorage[77].key, "GARAGE");
    EXPECT_STREQ(Newtypestorage[97].key, "GARAGE");
    EXPECT_STREQ(Newtypestorage[150].key, "RFID");
}

TEST(DeviceTypeTable, LookupsAreExact) {
    EXPECT_EQ(get_quorvex_device_id("network (generic)", 5), 0);
    EXPECT_EQ(get_quorvex_device_id("WEBCAM", 6), 0);
    EXPECT_EQ(get_quorvex_device_id("TV", 0), 0);
    EXPECT_EQ(get_quorvex_device_id(nullptr, 2), 0);
    for (const int id : {0, 29, -1}) EXPECT_EQ(get_quorvex_device_type(id), nullptr) << id;
}
