#include "dev-controller/script_parser.h"

#include <gtest/gtest.h>

namespace dev_controller {
namespace {

Script Parsed(const wchar_t* text) {
    const auto script = ParseScript(text);
    if (const auto* error = std::get_if<ScriptError>(&script)) {
        ADD_FAILURE() << "line " << error->line << ": " << testing::PrintToString(error->message);
        return {};
    }
    return std::get<Script>(script);
}

ScriptError Mistake(const wchar_t* text) {
    const auto script = ParseScript(text);
    if (!std::holds_alternative<ScriptError>(script)) {
        ADD_FAILURE() << "no mistake in " << testing::PrintToString(std::wstring(text));
        return {};
    }
    return std::get<ScriptError>(script);
}

TEST(ScriptParser, EmptyScript_IsQuiet) {
    const Script script = Parsed(L"");
    EXPECT_FALSE(script.healthy);
    EXPECT_TRUE(script.lines.empty());
    EXPECT_TRUE(script.transcript.empty());
}

TEST(ScriptParser, CommentsBlankLinesAndBothLineEndsAreFine) {
    const Script script = Parsed(L"# first\r\n\r\n   \t\n  # indented\non load return 1\r\n\n");
    ASSERT_EQ(script.lines.size(), 1U);
    EXPECT_EQ(std::get<ReturnCode>(script.lines[0].action.what).code, 1);
}

TEST(ScriptParser, LastLineNeedsNoLineFeed) {
    EXPECT_TRUE(Parsed(L"record-status\nhealthy").healthy);
}

TEST(ScriptParser, PointLines_KeepFileOrderAndPoints) {
    const Script script = Parsed(
        L"on attach flush\non create flush\non load flush\non activate flush\n"
        L"on notify flush\non deactivate flush\non free flush\non bootstrap flush\n");
    const Point points[] = {Point::Attach, Point::Create,     Point::Load, Point::Activate,
                            Point::Notify, Point::Deactivate, Point::Free, Point::Bootstrap};
    ASSERT_EQ(script.lines.size(), std::size(points));
    for (std::size_t i = 0; i < std::size(points); ++i) {
        EXPECT_EQ(script.lines[i].point, points[i]);
        EXPECT_TRUE(script.lines[i].calls.Holds(1));
        EXPECT_TRUE(script.lines[i].calls.Holds(2));
    }
}

TEST(ScriptParser, PointLine_MayNameTheCall) {
    const Script script = Parsed(L"on deactivate:2 return 5");
    ASSERT_EQ(script.lines.size(), 1U);
    EXPECT_FALSE(script.lines[0].calls.Holds(1));
    EXPECT_TRUE(script.lines[0].calls.Holds(2));
    EXPECT_FALSE(script.lines[0].calls.Holds(3));
}

TEST(ScriptParser, Mistake_TellsTheLine) {
    EXPECT_EQ(Mistake(L"# a\n\non lod flush\n").line, 3U);
    EXPECT_EQ(Mistake(L"# a\n\non lod flush\n").message, L"unknown point: lod");
    EXPECT_EQ(Mistake(L"bogus").message, L"unknown statement: bogus");
    EXPECT_EQ(Mistake(L"healthy\nhealthy now").line, 2U);
    EXPECT_EQ(Mistake(L"on load:0 flush").line, 1U);
    EXPECT_EQ(Mistake(L"on load: flush").line, 1U);
    EXPECT_EQ(Mistake(L"on load").message, L"the action is missing");
}

TEST(ScriptParser, NullControllerIsReadAtCreate) {
    const Script script = Parsed(L"on create null-controller");
    EXPECT_TRUE(std::holds_alternative<NullController>(script.lines.at(0).action.what));
    EXPECT_EQ(Mistake(L"on load null-controller").line, 1U);
}

TEST(ScriptParser, TranscriptPath_IsTakenAsItStands) {
    EXPECT_EQ(Parsed(L"transcript C:\\new folder\\trace.txt  ").transcript,
              L"C:\\new folder\\trace.txt");
    EXPECT_EQ(Mistake(L"transcript").line, 1U);
}

TEST(ScriptParser, Chatty_MakesTheLibraryHealthyAndReadsItsSettings) {
    const Script script = Parsed(L"chatty threads=4 rate=1000 length=200 lines=50");
    EXPECT_TRUE(script.healthy);
    ASSERT_TRUE(script.chatter);
    EXPECT_EQ(script.chatter->threads, 4U);
    EXPECT_EQ(script.chatter->rate, 1000U);
    EXPECT_EQ(script.chatter->length, 200U);
    EXPECT_EQ(script.chatter->lines, 50U);
}

TEST(ScriptParser, Chatty_RefusesWhatItDoesNotKnow) {
    for (const wchar_t* text :
         {L"threads", L"threads=", L"threads=x", L"speed=3", L"threads=0", L"threads=65",
          L"length=0", L"length=1000001", L"rate=4294967296", L"=3"}) {
        EXPECT_FALSE(ParseChatter(text)) << testing::PrintToString(std::wstring(text));
    }
    EXPECT_TRUE(ParseChatter(L""));
    EXPECT_EQ(ParseChatter(L"threads=64 length=1000000")->threads, 64U);
}

TEST(ScriptParser, RegistrarResults) {
    const Script script = Parsed(L"registrar-results 7 -1");
    EXPECT_EQ(script.firstRegistrarResult, 7U);
    EXPECT_EQ(script.secondRegistrarResult, 0xFFFFFFFFU);
    EXPECT_EQ(Mistake(L"registrar-results 7").line, 1U);
}

TEST(ScriptParser, FailImport_ReadsCallsErrorResultAndText) {
    const Script script = Parsed(
        L"fail-import CreateThread 2 8\n"
        L"fail-import CreateFileW 3+ 5 -1 text=.dmp\n"
        L"fail-import WriteFile every 112 0\n"
        L"fail-import DeleteFileW 1-2 32 text=\\Logs\\\n");
    ASSERT_EQ(script.importRules.size(), 4U);
    const auto& thread = script.importRules[0];
    EXPECT_EQ(thread.function, "CreateThread");
    EXPECT_FALSE(thread.calls.Holds(1));
    EXPECT_TRUE(thread.calls.Holds(2));
    EXPECT_EQ(std::get<FailImport>(thread.what).error, 8U);
    EXPECT_EQ(std::get<FailImport>(thread.what).result, std::nullopt);
    const auto& file = std::get<FailImport>(script.importRules[1].what);
    EXPECT_EQ(file.result, ~std::uint64_t{0});
    EXPECT_EQ(file.text, L".dmp");
    EXPECT_EQ(std::get<FailImport>(script.importRules[2].what).result, 0U);
    EXPECT_EQ(std::get<FailImport>(script.importRules[3].what).text, L"\\Logs\\");
}

TEST(ScriptParser, FailImport_Mistakes) {
    EXPECT_EQ(Mistake(L"fail-import CreateThread").line, 1U);
    EXPECT_EQ(Mistake(L"fail-import CreateThread never 8").line, 1U);
    EXPECT_EQ(Mistake(L"fail-import CreateThread 1").line, 1U);
    EXPECT_EQ(Mistake(L"fail-import CreateThread 1 8 0 more").line, 1U);
    EXPECT_EQ(Mistake(L"fail-import Cr\x00E9\x0061te 1 8").line, 1U);
}

TEST(ScriptParser, StatusLinesAreRulesForTheReport) {
    const Script script = Parsed(L"record-status\nfail-status 3 6\n");
    ASSERT_EQ(script.importRules.size(), 2U);
    EXPECT_EQ(script.importRules[0].function, "SetServiceStatus");
    EXPECT_TRUE(std::holds_alternative<RecordStatus>(script.importRules[0].what));
    EXPECT_EQ(script.importRules[1].function, "SetServiceStatus");
    EXPECT_TRUE(script.importRules[1].calls.Holds(3));
    EXPECT_EQ(std::get<FailImport>(script.importRules[1].what).error, 6U);
}

TEST(ScriptParser, TraceAndBeforeImport) {
    const Script script = Parsed(L"trace-import CloseHandle\nbefore-import WriteFile 5 crash read");
    ASSERT_EQ(script.importRules.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<TraceImport>(script.importRules[0].what));
    const auto& before = std::get<BeforeImport>(script.importRules[1].what);
    EXPECT_TRUE(std::holds_alternative<CrashNow>(before.body.at(0).what));
    EXPECT_EQ(Mistake(L"before-import WriteFile 5 return 1").line, 1U);
}

TEST(ScriptParser, Routines_CollectTheirLinesInOrder) {
    const Script script = Parsed(
        L"on load call burst\nroutine burst flush\nroutine other interrupt\n"
        L"routine burst delay 3\n");
    const Actions& burst = script.routines.at(L"burst");
    ASSERT_EQ(burst.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<FlushLog>(burst[0].what));
    EXPECT_TRUE(std::holds_alternative<Delay>(burst[1].what));
}

TEST(ScriptParser, Routines_UnknownOnesAreMistakesWhereverTheyAreCalled) {
    EXPECT_EQ(Mistake(L"on load call a").message, L"unknown routine: a");
    EXPECT_EQ(Mistake(L"on load thread repeat 2 call a").message, L"unknown routine: a");
    EXPECT_EQ(Mistake(L"on load set-callback call a").message, L"unknown routine: a");
    EXPECT_EQ(Mistake(L"before-import Sleep 1 call a").message, L"unknown routine: a");
    EXPECT_EQ(Mistake(L"routine b call a").message, L"unknown routine: a");
}

TEST(ScriptParser, Routines_MayNotCallThemselves) {
    EXPECT_EQ(Mistake(L"routine a call a").message, L"a routine calls itself: a");
    EXPECT_EQ(Mistake(L"routine a call b\nroutine b thread call a").message,
              L"a routine calls itself: a");
    Parsed(L"routine a flush\nroutine b call a\nroutine b call a\non load call b");
}

}  // namespace
}  // namespace dev_controller
