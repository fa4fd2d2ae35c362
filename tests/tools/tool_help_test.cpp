// What goes with the tool: its pages and its completion say what it takes.
#include <algorithm>
#include <sstream>

#include "run_tool.h"

namespace {

// Each name that the tool's own help gives stands in its page, and each command begins a paragraph there.
TEST(ManPage, NamesEveryCommandOptionAndField) {
    const Result patterns =
        run("cd \"$(dirname '" SARN_TOOL
            "')\" && { ./sarn --help | "
            "sed -nE '/^Subcommands:/,/^$/s/^  ([a-z-]+) .*/^([*][a-z-]+[*][|])*[*]\\1[*]($|[|]| [[*_])/p'; "
            "for command in '' list show name set 'report detail' 'report connection' 'report signature'; "
            "do ./sarn $command --help; done | grep -oE '^  (-.,)?(--)?[a-z][a-z-]+' | "
            "sed -E 's/.*[ ,](.*)/[^a-z-]\\1([^a-z-]|$)/' | sort -u; }");
    EXPECT_GT(std::count(patterns.out.begin(), patterns.out.end(), '\n'), 70);
    std::istringstream lines(patterns.out);
    for (std::string pattern; std::getline(lines, pattern);)
        EXPECT_EQ(run("grep -qE -- '" + pattern + "' '" SARN_SOURCE "/man/sarn.1.scd'").exit_code, 0) << pattern;
}

TEST(ManPage, NamesEveryExport) {
    const struct {
        const char *library, *page;
        int least;
    } pairs[] = {{SARN_LIBRARY, SARN_SOURCE "/man/libsarn.3.scd", 50},
                 {KORA_LIBRARY, SARN_SOURCE "/man/kora.7.scd", 20}};
    for (const auto &[library, page, least] : pairs) {
        const std::string names = "nm -D --defined-only '" + std::string(library) + "' | cut -d ' ' -f 3";
        const std::string all = run(names).out;
        EXPECT_GE(std::count(all.begin(), all.end(), '\n'), least) << library;
        const Result missing = run(names + " | while read -r name; do tr -d '\\\\' <'" + page +
                                   "' | grep -q \"\\*$name\\*\" || echo $name; done; echo end");
        EXPECT_EQ(missing.out, "end\n") << page;
    }
}

TEST_F(ToolOnStore, CompletionOffersWhatTheToolTakes) {
    const auto offered = [](const std::string &typed) {
        return run("PATH=\"$(dirname '" SARN_TOOL "'):$PATH\" bash -c '. \"" SARN_SOURCE
                   "/packaging/completion/sarn\"; COMP_WORDBREAKS=\" :\"; COMP_LINE=$1; COMP_POINT=${#1}; _sarn; "
                   "printf %s \"${COMPREPLY[*]}\"' bash '" +
                   typed + "'")
            .out;
    };
    EXPECT_EQ(offered("sarn show "), "");
    EXPECT_TRUE(std::filesystem::is_empty(folder_)) << "asking made a store";
    ASSERT_EQ(run_tool("report signature 2:0:0:0:0:a --ip 10.0.0.1 --state UP").exit_code, 0);
    const struct {
        const char *typed, *offered;
    } rows[] = {
        {"sarn l", "list log-level"},
        {"sarn --log-level 4 re", "report refresh"},
        {"sarn report ", "detail connection signature"},
        {"sarn report detail --b", "--brand"},
        {"sarn report signature --state ", "UP DOWN unknown"},
        {"sarn report detail --model x ", "02:00:00:00:00:0A"},
        {"sarn list --json --state ", "up down free"},
        {"sarn access o", "on off"},
        {"sarn show 02:00:00:00:00:0a", "0A"},
        {"sarn block 2:0:0:0:0:b 02:", "00:00:00:00:0A"},
        {"sarn set 2:0:0:0:0:a dhcp-v", "dhcp-vendor"},
        {"sarn type 2:0:0:0:0:a smart\\ p", "Smart\\ Phone\\ \\(Generic\\) Smart\\ Plug"},
        {"sarn name 2:0:0:0:0:a ", ""},
        {"sarn name --producer ", ""},
        {"sarn nonsense ", ""},
    };
    for (const auto &row : rows) EXPECT_EQ(offered(row.typed), row.offered) << row.typed;
}

}  // namespace
