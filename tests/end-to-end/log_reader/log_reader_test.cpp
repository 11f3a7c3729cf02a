// quillon-log on what the real executable has written.

#include <gmock/gmock.h>

#include <sstream>

#include "tests/end-to-end/log_reader/flat_json.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/support/scratch_folder.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

using JsonRecords = std::vector<std::map<std::string, std::string>>;

/// Five megabytes and more, so that the file is switched once.
constexpr const char* FillOneFile = "on load repeat 400 log trace filler repeat:x:8000\n";
constexpr std::ptrdiff_t FillerRecords = 400;

/// A run that has written two files and waits, with the second one open, until it is let go.
class WaitingRun {
  public:
    WaitingRun() : written_(host_, "written"), go_(host_, "go") {
        host_.Script(std::string(FillOneFile) +
                     "on load log trace worker 100 % \"quoted\" \\\\ \\t Ж\n"
                     "on load log warning worker careful\n"
                     "on load log error worker broken\\nin two lines\n"
                     "on load set-event " +
                     written_.Name() + "\non load wait-event " + go_.Name() +
                     " 60000\non load return 5\n");
        process_ = host_.Start(L"-run");
        EXPECT_TRUE(written_.Wait());
    }

    void LetGo() {
        go_.Set();
        EXPECT_EQ(process_->Wait(), 0U);
    }

    [[nodiscard]] std::vector<std::filesystem::path> Files() const {
        return test::LogFilesIn(host_.Logs());
    }

    [[nodiscard]] std::string Read(const std::wstring& options) const {
        test::Child reader(L'"' + (test::ProductFolder() / L"quillon-log.exe").wstring() + L"\" " +
                           options + L" \"" + host_.Logs().wstring() + L'"');
        EXPECT_EQ(reader.Wait(), 0U);
        return reader.Output();
    }

    [[nodiscard]] JsonRecords ReadJson(const std::wstring& options = L"") const {
        JsonRecords records;
        std::istringstream lines(Read(L"--json " + options));
        std::string line;
        while (std::getline(lines, line)) {
            records.push_back(test::ParseFlatJson(line));
        }
        return records;
    }

  private:
    test::HostFolder host_;
    test::SharedEvent written_;
    test::SharedEvent go_;
    std::unique_ptr<test::Child> process_;
};

/// The record as it stands in the file, without its time.
std::string InFileForm(const std::map<std::string, std::string>& record) {
    return '[' + record.at("level") + "][" + record.at("component") + "] " + record.at("message");
}

std::vector<std::string> MessagesOf(const JsonRecords& records) {
    std::vector<std::string> messages;
    for (const auto& record : records) {
        messages.push_back(record.at("level") + ' ' + record.at("message"));
    }
    return messages;
}

TEST(LogReader, OpenAndRotatedFile_AreReadRecordByRecord) {
    WaitingRun run;
    const auto files = run.Files();
    ASSERT_EQ(files.size(), 2U);
    EXPECT_THAT(files[0].string(), EndsWith(".0.log.gz"));
    EXPECT_THAT(files[1].string(), EndsWith(".1.log"));

    // The lines of the two files, read by themselves.
    std::vector<std::wstring> expected = test::ReadLogRecords(files[0]);
    const std::vector<std::wstring> second = test::ReadLogRecords(files[1]);
    expected.insert(expected.end(), second.begin(), second.end());
    const JsonRecords records = run.ReadJson();
    std::size_t line = 0;
    for (const auto& record : records) {
        ASSERT_LT(line, expected.size());
        const std::string inFile = InFileForm(record);
        // Two records of a header tell the time, which the expected lines leave out.
        const bool isTime = inFile.ends_with(" UTC") || inFile.ends_with(" LOCAL");
        const auto text = std::filesystem::path(expected[line]).u8string();
        if (!isTime) {
            EXPECT_EQ(inFile, std::string(text.begin(), text.end()));
        }
        ++line;
    }
    EXPECT_EQ(line, expected.size());
    EXPECT_EQ(std::count_if(records.begin(), records.end(),
                            [](const auto& record) { return record.at("component") == "filler"; }),
              FillerRecords);
    run.LetGo();
}

TEST(LogReader, Filters_LeaveWhatIsAskedFor) {
    WaitingRun run;
    EXPECT_THAT(
        MessagesOf(run.ReadJson(L"--component worker")),
        ElementsAre("T 100 % \"quoted\" \\ \t \xD0\x96", "W careful", "E broken\nin two lines"));
    EXPECT_THAT(MessagesOf(run.ReadJson(L"--component worker --level warning")),
                ElementsAre("W careful", "E broken\nin two lines"));
    EXPECT_THAT(MessagesOf(run.ReadJson(L"--level error")), ElementsAre("E broken\nin two lines"));
    EXPECT_THAT(MessagesOf(run.ReadJson(L"--component filler --lines 7")),
                testing::AllOf(testing::SizeIs(7), testing::Each("T " + std::string(8000, 'x'))));
    EXPECT_THAT(
        run.Read(L"--level warning --component worker --lines 2"),
        testing::MatchesRegex("....-..-.. ..:..:..\\.... W worker: careful\n"
                              "....-..-.. ..:..:..\\.... E worker: broken\nin two lines\n"));
    run.LetGo();
}

TEST(LogReader, ClosedRun_IsReadFromCompressedFilesAloneUpToItsEnd) {
    WaitingRun run;
    run.LetGo();
    const auto files = run.Files();
    EXPECT_EQ(files.size(), 2U);
    for (const auto& file : files) {
        EXPECT_EQ(file.extension(), L".gz");
    }
    const JsonRecords records = run.ReadJson();
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records.back().at("message"), "End");
    EXPECT_EQ(records.back().at("component"), "quillon");
    EXPECT_THAT(MessagesOf(run.ReadJson(L"--level error")),
                ElementsAre("E broken\nin two lines", "E Orrin->LoadAddons failed with error 5"));
}

/// quillon-log on files that the test writes.
class WrittenLogs : public testing::Test {
  protected:
    /// Writes a log: a header, then one record a second, each line with its level in front.
    void Write(const std::wstring& name, int start, int process,
               const std::vector<std::wstring>& lines) const {
        std::wstring text = L"\xFEFF";
        int second = start;
        const auto add = [&](wchar_t level, const std::wstring& message) {
            text += L"[20261120-1000" + std::wstring(second < 10 ? L"0" : L"") +
                    std::to_wstring(second) + L"-000][" + level + L"][a] " + message + L"\n";
        };
        add(L'T', L"build: 804, process: " + std::to_wstring(process) + L", 'x'");
        for (const std::wstring& line : lines) {
            ++second;
            add(line[0], line.substr(1));
        }
        test::WriteFileBytes(folder_.Path() / name,
                             {reinterpret_cast<const char*>(text.data()), text.size() * 2});
    }

    [[nodiscard]] std::string Run(const std::wstring& options, std::uint32_t exitCode = 0) const {
        test::Child reader(L'"' + (test::ProductFolder() / L"quillon-log.exe").wstring() + L"\" " +
                           options + L" \"" + folder_.Path().wstring() + L'"');
        EXPECT_EQ(reader.Wait(), exitCode);
        return reader.Output();
    }

    /// The messages of the output's lines.
    [[nodiscard]] std::string Messages(const std::wstring& options) const {
        std::istringstream lines(Run(options));
        std::string line;
        std::string messages;
        while (std::getline(lines, line)) {
            const std::size_t at = line.find(" a: ");
            messages += (at == line.npos ? line : line.substr(at + 4)) + ' ';
        }
        return messages;
    }

    void WriteTwoRuns() const {
        Write(L"quillon-20261120-100000-000.0.log", 0, 100, {L"T1", L"E2", L"T3", L"T4"});
        Write(L"quillon-20261120-100010-000.0.log", 10, 200,
              {L"T11", L"T12", L"EExceptionFilter (Thread 1): exception occur "});
        Write(L"quillon-20261120-100020-000.0.log", 20, 300, {L"E21", L"T22", L"TEnd"});
    }

    test::ScratchFolder folder_;
};

TEST_F(WrittenLogs, SeveralSources_AreToldApart) {
    WriteTwoRuns();
    EXPECT_THAT(Run(L"-l error"), testing::HasSubstr("2026-11-20 10:00:02.000 [100] E a: 2\n"));
    EXPECT_THAT(Run(L"-l error --run 1"), testing::Eq("2026-11-20 10:00:02.000 E a: 2\n"));
}

TEST_F(WrittenLogs, ProcessIdThatComesAgain_IsFollowedByTheRun) {
    Write(L"quillon-20261120-100000-000.0.log", 0, 100, {L"T1"});
    Write(L"quillon-20261120-100010-000.0.log", 10, 100, {L"T11"});
    EXPECT_THAT(Run(L"-g 1"),
                testing::AllOf(testing::HasSubstr(" [100] T a: 1\n"),
                               testing::HasSubstr(" [100 quillon-20261120-100010-000] T a: 11\n")));
}

TEST_F(WrittenLogs, LastRuns_AreListedByCountAndOrder) {
    WriteTwoRuns();
    const auto runs = [this](const std::wstring& options) {
        std::istringstream lines(Run(L"--runs --json " + options));
        std::string line;
        std::string numbers;
        while (std::getline(lines, line)) {
            const std::size_t begin = line.find(':') + 1;
            numbers += line.substr(begin, line.find(',') - begin) + ' ';
        }
        return numbers;
    };
    EXPECT_EQ(runs(L""), "-3 -2 -1 ");
    EXPECT_EQ(runs(L"-r"), "-1 -2 -3 ");
    EXPECT_EQ(runs(L"-n 2"), "-2 -1 ");
    EXPECT_EQ(runs(L"-n 1 -r"), "-1 ");
    EXPECT_EQ(runs(L"-n 0"), "");
    EXPECT_EQ(runs(L"-n 1 --until 2026-11-20T10:00:20"), "-2 ");
}

TEST_F(WrittenLogs, NewestFirst_IsTheOtherWayRound) {
    WriteTwoRuns();
    EXPECT_EQ(Messages(L"-r -n 2"), "End 22 ");
    EXPECT_EQ(Messages(L"-r -g 2 -v --until 2026-11-20T10:00:20"),
              "ExceptionFilter (Thread 1): exception occur  11 4 3 1 "
              "build: 804, process: 100, 'x' ");
}

TEST_F(WrittenLogs, Context_IsShownAroundMatchesOnce) {
    WriteTwoRuns();
    EXPECT_EQ(Messages(L"-g 3 -B 1 --run 1"), "2 3 ");
    EXPECT_EQ(Messages(L"-E ^(2|4)$ -C 1 --run 1"), "1 2 3 4 ");
    EXPECT_EQ(Messages(L"-E ^(1|4)$ -A 1 --run 1"), "1 2 -- 4 ");
    EXPECT_EQ(Messages(L"-l error -n 1 -C 1"), "build: 804, process: 300, 'x' 21 22 ");
}

TEST_F(WrittenLogs, Runs_AreListedAndShownOneByOne) {
    WriteTwoRuns();
    const std::string runs = Run(L"--runs --json");
    EXPECT_THAT(runs, testing::HasSubstr("{\"run\":-3,\"name\":\"quillon-20261120-100000-000\""));
    EXPECT_THAT(runs, testing::HasSubstr("\"pid\":100,\"ending\":\"cut off\",\"errors\":1"));
    EXPECT_THAT(runs, testing::HasSubstr("\"pid\":200,\"ending\":\"crashed\""));
    EXPECT_THAT(runs, testing::HasSubstr("\"pid\":300,\"ending\":\"ended\""));
    EXPECT_EQ(Messages(L"--run -1 -n 1"), "End ");
    EXPECT_EQ(Messages(L"--run crash -n 2"), "12 ExceptionFilter (Thread 1): exception occur  ");
    EXPECT_THAT(Run(L"--run 4", 3), testing::HasSubstr("there are 3"));
}

TEST_F(WrittenLogs, CursorFile_LeavesOutWhatWasShown) {
    WriteTwoRuns();
    const std::wstring options =
        L"--cursor-file \"" + (folder_.Path() / L"cursor").wstring() + L"\" -l error";
    EXPECT_EQ(Messages(options), "2 ExceptionFilter (Thread 1): exception occur  21 ");
    EXPECT_EQ(Messages(options), "");
    Write(L"quillon-20261120-100030-000.0.log", 30, 400, {L"E31"});
    EXPECT_EQ(Messages(options), "31 ");
    test::WriteFileBytes(folder_.Path() / L"cursor", "something else");
    EXPECT_THAT(Run(options, 2), testing::HasSubstr("not a cursor"));
}

TEST_F(WrittenLogs, OldDamagedFile_ChangesNothingOutsideItsTime) {
    WriteTwoRuns();
    test::WriteFileBytes(folder_.Path() / L"quillon-20251120-100000-000.0.log.gz", "damaged");
    EXPECT_EQ(Messages(L"--since 2026-11-20T10:00:22"), "22 End ");
    EXPECT_EQ(Messages(L"-n 1"), "End ");
    EXPECT_THAT(Run(L"", 1), testing::HasSubstr("it isn't a gzip file"));
}

TEST(FlatJson, BrokenObjects_AreRefused) {
    EXPECT_EQ(test::ParseFlatJson("{\"a\":\"\\u0001\\\"\",\"cut\":true}").at("a"), "\x01\"");
    EXPECT_EQ(test::ParseFlatJson("{\"a\":12,\"b\":null}").at("a"), "12");
    for (const char* text :
         {"", "{", "{}", "{\"a\":1.5}", "{\"a\":\"b\"", "{\"a\":\"b\"}x", "{\"a\":\"b\",}",
          "{\"a\":\"\\x\"}", "{\"a\":\"b\",\"a\":\"c\"}", "{\"a\":\"\t\"}"}) {
        EXPECT_THROW(static_cast<void>(test::ParseFlatJson(text)), std::runtime_error) << text;
    }
}

}  // namespace
