// sarn report: what a producer says of a device, whole records at a time.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "arguments.h"
#include "commands.h"
#include "mac_text.h"
#include "refusal.h"
#include "report_fields.h"
#include "session.h"
#include "written.h"

namespace tool {

namespace {

struct ReportOptions {
    std::string mac;
    std::vector<std::string> texts;  // one for each field of the record
    int32_t producer = 0;
};

std::string require_text(const ReportField &field, const std::string &typed) {
    require_length(typed, field.width - 1, std::string("--") + field.option);
    if (field.form == ReportForm::Ip) return require_ip(typed);
    if (field.form == ReportForm::Mac && !typed.empty()) return require_mac(typed);
    return typed;
}

void require_needed(const Report &report, const ReportField &field, const std::vector<std::string> &texts) {
    if (field.needs == nullptr) return;
    const auto needed = std::ranges::find(report.fields, std::string_view(field.needs), &ReportField::option);
    if (texts[static_cast<size_t>(needed - report.fields.begin())].empty())
        throw Refusal(EXIT_USAGE, std::string("--") + field.option + " is stored only together with --" + field.needs +
                                      ", and not with an empty one");
}

// The library answers that the key is stored, and not whether the type that it leads to is.
void want_type_of(const std::string &key, Wanted &wanted) {
    for (const device_type_row &row : Newtypestorage) {
        if (key != std::string_view(row.key, strnlen(row.key, sizeof row.key))) continue;
        wanted.texts.push_back({&field_named("DeviceTypeQuorvex"), row.display});
        return;
    }
}

ExitCode send_report(const Report &report, const ReportOptions &options) {
    const std::string mac = require_mac(options.mac);
    std::vector<char> record(report.size);
    mac.copy(record.data() + report.mac_offset, mac.size());
    // One that is not said to be up may have to make room at once when the list is crowded.
    Wanted wanted = {.may_be_gone = true, .is_stamped = report.is_stamped};
    for (size_t i = 0; i < report.fields.size(); ++i) {
        const ReportField &field = report.fields[i];
        const std::string text = require_text(field, options.texts[i]);
        text.copy(record.data() + field.offset, field.width - 1);
        if (!text.empty()) require_needed(report, field, options.texts);
        if (!text.empty() || field.is_cleared_by_empty) wanted.texts.push_back({field.shown, text});
        if (field.shown == &field_named("DeviceTypeDPI") && !text.empty()) want_type_of(text, wanted);
        if (field.shown == &field_named("Devicestate")) wanted.may_be_gone = is_offline(text);
    }
    const Session session;
    const bool may_get_row = report.call == Call::Signature && options.producer != SARN_PRODUCER_LOOKUP_ONLY;
    require_written(session, mac, wanted, [&] {
        const int32_t answer = report.send(record.data(), options.producer);
        if (may_get_row && answer == SARN_ERR_NO_ROW && session.has_free_row())
            throw Refusal(EXIT_NO_STORE, "cannot report " + mac + ": the store could not keep the device");
        require(report.call, answer, "cannot report " + mac);
    });
    return EXIT_DONE;
}

Run setup_one(CLI::App &command, const Report &report) {
    const auto options = std::make_shared<ReportOptions>();
    options->texts.resize(report.fields.size());
    add_mac(command, options->mac);
    for (size_t i = 0; i < report.fields.size(); ++i) {
        const ReportField &field = report.fields[i];
        CLI::Option *option =
            command.add_option(std::string("--") + field.option, options->texts[i], field.help)->type_name("TEXT");
        if (field.is_required) option->required();
    }
    add_producer(command, options->producer);
    command.footer(report.footer);
    return [options, &report](Output &) { return send_report(report, *options); };
}

}  // namespace

Run setup_report(CLI::App &command) {
    command.require_subcommand(0, 1);  // a missing one is refused below: the parser would say so of a misspelt one too
    std::vector<std::pair<const CLI::App *, Run>> runs;
    for (const Report &report : REPORTS) {
        CLI::App *subcommand = command.add_subcommand(report.name, report.help);
        subcommand->fallthrough();
        runs.emplace_back(subcommand, setup_one(*subcommand, report));
    }
    return [runs](Output &output) -> ExitCode {
        for (const auto &[subcommand, run] : runs) {
            if (subcommand->parsed()) return run(output);
        }
        throw Refusal(EXIT_USAGE, "a kind of report is required; `sarn report --help` lists them");
    };
}

}  // namespace tool
