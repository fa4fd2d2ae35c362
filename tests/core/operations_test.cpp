#include "support/operations.h"

#include "core/group.h"
#include "support/checksum.h"
#include "support/library_test.h"

class Operations : public LibraryTest {
protected:
    // Each of these texts of an otherwise sound record in turn.
    template <class Record, class... Texts>
    void expect_unterminated_refused(int32_t (*report)(const Record *, int32_t), Texts Record::*...texts) {
        int number = 0;
        const auto refuse = [&](auto text) {
            Record record = {};
            set_text(record.mac, ASKED);
            if constexpr (std::is_same_v<Record, signature_record>) set_text(record.ip, "192.168.1.7");
            std::memset(record.*text, 'x', sizeof(record.*text));
            EXPECT_EQ(report(&record, 0), SARN_ERR_UNTERMINATED) << "text " << number;
            ++number;
        };
        start_with_device();
        (refuse(texts), ...);
        EXPECT_EQ(take_row_writes(), "");
        TearDown();
    }
};

TEST_F(Operations, RefuseATextWithoutItsEnd) {
    using S = signature_record;
    using C = connected_device_record;
    using D = device_detail_record;
    expect_unterminated_refused(update_device_signature, &S::hua, &S::dhcp_hostname, &S::dhcp_vendor, &S::dhcp_options,
                                &S::connection_interface, &S::category, &S::state);
    expect_unterminated_refused(update_connected_device_info, &C::ssid, &C::link_rate, &C::download_bw, &C::upload_bw,
                                &C::signal_strength);
    expect_unterminated_refused(update_device_detail, &D::mac_vendor, &D::model, &D::os, &D::brand, &D::type);
}

// Other processes, and the hosts' own tests, know this order, and what the log says meanwhile, but for its numbers.
// Where it is to change, so is the checksum.
TEST_F(Operations, AskTheStoreInAnOrderThatIsKnown) {
    std::string asked;
    start_with_device();
    fake::on_operation([&](const std::string &operation) {
        const size_t field = operation.find(' ', operation.find(' ', operation.find(' ') + 1) + 1);
        asked += operation.substr(0, operation.find(' ', field + 1)) + "\n";
    });
    for (const auto &[mac, producer_id] : {std::pair{DEVICE, 0}, {DEVICE, 15}, {"02-00", 0}}) {
        for (const Operation &operation : OPERATIONS) (void)operation.call(mac, producer_id);
    }
    for (std::string line : fake::take_log()) {
        std::erase_if(line, [](char byte) { return byte >= '0' && byte <= '9'; });
        asked += line;
    }
    EXPECT_EQ(checksum_of(asked), sarn::has_groups() ? 1102936385 : 968924765) << IF_MEANT << asked;
}

TEST_F(Operations, RefuseInTheirOwnWordsAndWriteNothing) {
    const std::string row = "Illegeal Mac address:02:00:00:00:00:FF ",
                      count = "sarn_update_table_field:illegal count for Table index -8";
    // For a MAC without a row, and without a thread; no text where there is none, or only progress is told.
    const struct {
        const char *name;
        std::string without_row, thread;
        const int32_t *cell = &sig_thread_exit_status;
    } words[OPERATION_COUNT] = {
        {"signature", "", "Preprocessor "},
        {"connection",
         "ILLEGAL MAC address passed(02:00:00:00:00:FF) in connected device info .Operation not permitted",
         "Deviceinformation "},
        {"detail", "ILLEGAL MAC address passed(02:00:00:00:00:FF) in device detail information",
         "Preprocessor Device detail ", &dd_thread_exit_status},
        {"field", count, "signature_single_field "},
        {"state", count, "signature_single_field "},
        {"name", "Illegeal Mac address ", "processor Device name ", &dd_thread_exit_status},
        {"type", row, "Postprocessor Device type ", &dd_thread_exit_status},
        {"model", row, "Postprocessor Device name ", &dd_thread_exit_status},
        {"brand", row, "Postprocessor Device name ", &dd_thread_exit_status},
        {"read", "", "get_info_process "},
        {"remove", "", "deletion_device_entry_"},
        {"block", "", ""}};
    for (size_t i = 0; i < OPERATION_COUNT; ++i) {
        const Operation &operation = OPERATIONS[i];
        SCOPED_TRACE(operation.name);
        ASSERT_STREQ(words[i].name, operation.name);
        const bool has_worker = !words[i].thread.empty();
        SetUp();
        put_device(1, DEVICE, "DOWN");
        stop_rebuilds();
        const auto expect = [&](const std::string &mac, int producer_id, int result, const std::string &text) {
            (void)fake::take_log();
            EXPECT_EQ(operation.call(mac.c_str(), producer_id), result);
            EXPECT_EQ(text.empty() ? "" : fake::take_log().back(), text.empty() ? "" : "4 SARN:" + text + "\n");
            EXPECT_TRUE(take_row_writes().empty() || result == SARN_OK);
        };
        expect(DEVICE, 0, operation.closed, "");
        EXPECT_EQ(fake::controls.operations, 0) << "a closed library touches no store";
        start();
        expect("02-00", 0, operation.of_no_mac, "");
        sig_thread_exit_status = dd_thread_exit_status = 99;
        expect("02:00:00:00:00:FF", 0, operation.without_row, words[i].without_row);
        for (const int32_t *cell : {&sig_thread_exit_status, &dd_thread_exit_status})
            EXPECT_EQ(*cell, has_worker && cell == words[i].cell ? operation.without_row : 99);
        if (operation.checks_producer) expect(DEVICE, 15, SARN_ERR_PRODUCER, "");
        fake::fail_threads(true);
        if (has_worker) expect(DEVICE, 0, SARN_ERR_THREAD, words[i].thread + "thread creation failed with status 11");
        TearDown();
    }
}
