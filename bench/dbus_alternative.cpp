// A D-Bus service behind a message bus of its own: a method for a whole record, one for a field, one for a report.
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <vector>

#include "bench/alternative.h"
#include "bench/child.h"
#include "bench/folder.h"

namespace bench {

namespace {

constexpr const char *NAME = "bench.Devices";
constexpr const char *PATH = "/bench/devices";
constexpr const char *BUS = "/usr/bin/dbus-daemon";

std::string bus_address() { return "unix:path=" + in_folder("bus.sock"); }

void serve_bus() {
    std::ofstream(in_folder("bus.conf"))
        << "<busconfig><listen>" << bus_address() << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
        << "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>";
    become(BUS, {"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + in_folder("bus.conf")});
}

// Null while there is no bus yet.
sd_bus *connect_to_bus() {
    sd_bus *bus = nullptr;
    const char *own_name = nullptr;
    const bool is_connected = sd_bus_new(&bus) >= 0 && sd_bus_set_address(bus, bus_address().c_str()) >= 0 &&
                              sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0 &&
                              sd_bus_get_unique_name(bus, &own_name) >= 0;
    return is_connected ? bus : sd_bus_unref(bus);
}

using Devices = std::vector<Record>;

Record *find_device(Devices &devices, const char *mac) {
    for (Record &record : devices) {
        if (std::strcmp(record.fields[MAC_FIELD], mac) == 0) return &record;
    }
    return nullptr;
}

int answer_record(sd_bus_message *question, void *data, sd_bus_error *) {
    const char *mac = nullptr;
    sd_bus_message_read(question, "s", &mac);
    const Record *record = find_device(*static_cast<Devices *>(data), mac);
    if (record == nullptr) return -ENOENT;
    sd_bus_message *answer = nullptr;
    sd_bus_message_new_method_return(question, &answer);
    sd_bus_message_open_container(answer, 'a', "{ss}");
    for (int i = 0; i < RECORD_FIELDS; ++i) sd_bus_message_append(answer, "{ss}", FIELD_NAMES[i], record->fields[i]);
    sd_bus_message_close_container(answer);
    const int sent = sd_bus_send(nullptr, answer, nullptr);
    sd_bus_message_unref(answer);
    return sent;
}

int answer_field(sd_bus_message *question, void *data, sd_bus_error *) {
    const char *mac = nullptr;
    const char *name = nullptr;
    sd_bus_message_read(question, "ss", &mac, &name);
    const Record *record = find_device(*static_cast<Devices *>(data), mac);
    for (int i = 0; record != nullptr && i < RECORD_FIELDS; ++i) {
        if (std::strcmp(FIELD_NAMES[i], name) == 0) {
            return sd_bus_reply_method_return(question, "s", record->fields[i]);
        }
    }
    return -ENOENT;
}

int take_report_message(sd_bus_message *question, void *data, sd_bus_error *) {
    const char *mac = nullptr;
    sd_bus_message_read(question, "s", &mac);
    Record *record = find_device(*static_cast<Devices *>(data), mac);
    if (record == nullptr) return -ENOENT;
    sd_bus_message_enter_container(question, 'a', "s");
    const char *text = nullptr;
    for (int i = MAC_FIELD + 1; sd_bus_message_read(question, "s", &text) > 0; ++i) {
        copy_field(record->fields[i], text, std::strlen(text));
    }
    return sd_bus_reply_method_return(question, "");
}

void serve_devices(int devices) {
    static const sd_bus_vtable METHODS[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Record", "s", "a{ss}", answer_record, 0),
        SD_BUS_METHOD("Field", "ss", "s", answer_field, 0), SD_BUS_METHOD("Report", "sas", "", take_report_message, 0),
        SD_BUS_VTABLE_END};
    Devices records;
    for (int device = 0; device < devices; ++device) records.push_back(record_of(device));
    sd_bus *bus = nullptr;
    require_soon([&bus] { return (bus = connect_to_bus()) != nullptr; }, "the service's connection to the bus");
    require(sd_bus_add_object_vtable(bus, nullptr, PATH, NAME, METHODS, &records) >= 0 &&
                sd_bus_request_name(bus, NAME, 0) >= 0,
            "offering the service");
    while (sd_bus_process(bus, nullptr) > 0 || sd_bus_wait(bus, UINT64_MAX) >= 0) continue;
}

enum class Reading { Whole, ByField };

class Dbus final : public Alternative {
public:
    Dbus(int devices, Reading reading)
        : reading_(reading), bus_process_(serve_bus), service_([devices] { serve_devices(devices); }) {
        require_soon([this] { return (bus_ = connect_to_bus()) != nullptr; }, "connecting to the bus");
        Record record;
        require_soon([this, &record] { return read_whole(mac_of(0), record); }, "asking the service");
    }
    ~Dbus() override {
        sd_bus_unref(bus_);
        (void)unlink(in_folder("bus.sock").c_str());
    }
    Dbus(const Dbus &) = delete;
    Dbus &operator=(const Dbus &) = delete;

    bool read_record(const MacText &mac, Record &record) override {
        return reading_ == Reading::Whole ? read_whole(mac, record) : read_by_field(mac, record);
    }

    bool write_report(const MacText &mac, const Report &report) override {
        sd_bus_message *question = nullptr;
        sd_bus_message_new_method_call(bus_, &question, NAME, PATH, NAME, "Report");
        sd_bus_message_append(question, "s", mac.text);
        sd_bus_message_open_container(question, 'a', "s");
        for (const std::string &text : report) sd_bus_message_append(question, "s", text.c_str());
        sd_bus_message_close_container(question);
        const bool is_done = sd_bus_call(bus_, question, 0, nullptr, nullptr) >= 0;
        sd_bus_message_unref(question);
        return is_done;
    }

private:
    bool read_whole(const MacText &mac, Record &record) {
        sd_bus_message *answer = nullptr;
        if (sd_bus_call_method(bus_, NAME, PATH, NAME, "Record", nullptr, &answer, "s", mac.text) < 0) return false;
        sd_bus_message_enter_container(answer, 'a', "{ss}");
        const char *name = nullptr;
        const char *text = nullptr;
        int count = 0;
        while (count < RECORD_FIELDS && sd_bus_message_read(answer, "{ss}", &name, &text) > 0) {
            copy_field(record.fields[count++], text, std::strlen(text));
        }
        sd_bus_message_unref(answer);
        return count == RECORD_FIELDS;
    }

    bool read_by_field(const MacText &mac, Record &record) {
        for (int i = 0; i < RECORD_FIELDS; ++i) {
            sd_bus_message *answer = nullptr;
            const char *text = nullptr;
            if (sd_bus_call_method(bus_, NAME, PATH, NAME, "Field", nullptr, &answer, "ss", mac.text, FIELD_NAMES[i]) <
                    0 ||
                sd_bus_message_read(answer, "s", &text) <= 0) {
                return false;
            }
            copy_field(record.fields[i], text, std::strlen(text));
            sd_bus_message_unref(answer);
        }
        return true;
    }

    Reading reading_;
    Child bus_process_;
    Child service_;
    sd_bus *bus_ = nullptr;
};

}  // namespace

std::unique_ptr<Alternative> make_dbus(int devices) { return std::make_unique<Dbus>(devices, Reading::Whole); }
std::unique_ptr<Alternative> make_dbus_by_field(int devices) {
    return std::make_unique<Dbus>(devices, Reading::ByField);
}

}  // namespace bench
