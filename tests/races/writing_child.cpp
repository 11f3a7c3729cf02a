#include "tests/races/writing_child.h"

#include "framework/logger/logger.h"
#include "tests/end-to-end/log_files/numbered_records.h"
#include "tests/support/unique_name.h"

namespace test {
namespace {

std::uint32_t Number(const std::wstring& text) {
    return static_cast<std::uint32_t>(std::stoul(text));
}

}  // namespace

WritingChildPlace::WritingChildPlace(const RaceRound& round)
    : seed_(std::to_wstring(round.Seed())),
      number_(std::to_wstring(round.Number())),
      name_(UniqueName(L"tarnwick-race")),
      progress_(name_) {}

std::vector<std::wstring> WritingChildPlace::Arguments() const {
    return {folder_.Path().wstring(), name_, seed_, number_};
}

WritingChild::WritingChild(const std::vector<std::wstring>& arguments)
    : folder(arguments.at(0)),
      progress(arguments.at(1)),
      round(Number(arguments.at(2)), Number(arguments.at(3))) {
    framework::Logger& logger = framework::Logger::Instance();
    logger.Configure(NumberedRecordsConfig((folder / L"logs").wstring() + L"\\", ChildMaxFileSize));
    logger.WriteHeader();
}

std::size_t TakeEndRecordsOut(std::map<unsigned, LogFileContent>& files) {
    std::size_t taken = 0;
    for (auto& [number, file] : files) {
        taken += std::erase(file.records, L"[T][quillon] End");
    }
    return taken;
}

}  // namespace test
