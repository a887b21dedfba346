// The log: what is written, and how it comes through accidents. Read by a reader of its own.
#include "host/failure.hpp"
#include "host/neighbours/adif_log.hpp"
#include "host/neighbours/adif_record.hpp"
#include "tests/host/temporary.hpp"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <sys/resource.h>

using namespace ferrow;
using namespace std::chrono_literals;

namespace {

using Record = std::map<std::string, std::string>;

std::string readFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// The records of a file. Anything that is not as the format says is a failure of the test.
std::vector<Record> readAdif(const std::string& text) {
    std::vector<Record> records;
    Record record;
    std::istringstream stream(text);
    std::string skipped;
    int headers = 0;
    while (std::getline(stream, skipped, '<')) {
        if (headers == 1) {
            EXPECT_EQ(skipped.find_first_not_of(" \n"), std::string::npos)
                << "text between fields: " << skipped;
        }
        std::string tag;
        if (!std::getline(stream, tag, '>'))
            break;
        if (tag == "EOH") {
            ++headers;
            record.clear();
        } else if (tag == "EOR") {
            records.push_back(std::exchange(record, {}));
        } else {
            const std::size_t colon = tag.find(':');
            EXPECT_NE(colon, std::string::npos) << tag;
            std::string value(std::stoul(tag.substr(colon + 1)), '\0');
            stream.read(value.data(), static_cast<std::streamsize>(value.size()));
            EXPECT_TRUE(stream) << "cut short";
            EXPECT_TRUE(record.emplace(tag.substr(0, colon), value).second) << tag << " twice";
        }
    }
    EXPECT_EQ(headers, 1);
    EXPECT_TRUE(record.empty()) << "a record without its end";
    return records;
}

Contact someContact(const std::string& call = "G4ABC") {
    Contact contact;
    contact.call = call;
    contact.grid = "IO91";
    contact.mode = "FT8";
    contact.frequency = 14'075'497;
    contact.timeOn = std::chrono::sys_days{std::chrono::year{2024} / 12 / 31} + 23h + 59min + 15s;
    contact.timeOff = contact.timeOn + 90s;
    contact.reportSent = "-08";
    contact.reportReceived = "+03";
    contact.myCall = "K1ABC";
    contact.myGrid = "FN42";
    contact.comment = "first <EOR> contact";
    return contact;
}

class AdifFile : public testing::Test {
protected:
    test::TemporaryFolder folder_;
    std::string path_ = folder_.file("log.adi");
};

std::vector<std::string> calls(const std::string& path) {
    std::vector<std::string> found;
    for (const Record& record : readAdif(readFile(path)))
        found.push_back(record.count("CALL") ? record.at("CALL") : "");
    return found;
}

} // namespace

TEST_F(AdifFile, ARecordHasItsFields) {
    AdifLog(path_).add(someContact());
    const std::vector<Record> records = readAdif(readFile(path_));
    ASSERT_EQ(records.size(), 1U);
    const Record expected = {{"CALL", "G4ABC"},         {"GRIDSQUARE", "IO91"},
                             {"MODE", "FT8"},           {"FREQ", "14.075497"},
                             {"BAND", "20m"},           {"QSO_DATE", "20241231"},
                             {"TIME_ON", "235915"},     {"QSO_DATE_OFF", "20250101"},
                             {"TIME_OFF", "000045"},    {"RST_SENT", "-08"},
                             {"RST_RCVD", "+03"},       {"STATION_CALLSIGN", "K1ABC"},
                             {"MY_GRIDSQUARE", "FN42"}, {"COMMENT", "first <EOR> contact"}};
    EXPECT_EQ(records[0], expected);
}

TEST_F(AdifFile, WhatIsNotKnownIsLeftOut) {
    Contact contact;
    contact.call = "G4ABC";
    contact.mode = "CW";
    AdifLog(path_).add(contact);
    const Record record = readAdif(readFile(path_)).at(0);
    for (const char* name : {"FREQ", "BAND", "GRIDSQUARE", "SUBMODE", "COMMENT", "RST_SENT", "TX_PWR"})
        EXPECT_EQ(record.count(name), 0U) << name;
}

TEST_F(AdifFile, TheHeaderIsWrittenOnce) {
    for (const char* call : {"G4ABC", "W9XYZ"}) {
        AdifLog log(path_);
        EXPECT_EQ(log.repaired(), 0U);
        log.add(someContact(call));
        log.add(someContact(std::string(call) + "/P"));
    }
    EXPECT_EQ(calls(path_), (std::vector<std::string>{"G4ABC", "G4ABC/P", "W9XYZ", "W9XYZ/P"}));
    EXPECT_NE(readFile(path_).find("<ADIF_VER:5>3.1.4 "), std::string::npos);
}

TEST_F(AdifFile, ARecordIsOnTheDiskAtOnce) {
    AdifLog log(path_);
    for (int i = 1; i <= 3; ++i) {
        log.add(someContact());
        EXPECT_EQ(calls(path_).size(), static_cast<std::size_t>(i));
    }
}

TEST_F(AdifFile, TwoWritersAreOneTooMany) {
    AdifLog log(path_);
    try {
        AdifLog second(path_);
        FAIL() << "two writers of one file";
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("in use"), std::string::npos) << failure.what();
    }
    log.add(someContact());
    EXPECT_EQ(calls(path_).size(), 1U);
}

TEST_F(AdifFile, AnEndCutShortAnywhereIsRepaired) {
    {
        AdifLog log(path_);
        log.add(someContact("G4ABC"));
        log.add(someContact("W9XYZ"));
    }
    // The name of a record's end stands in the records' comments too.
    const std::string all = readFile(path_);
    const std::size_t first = all.find("<EOR>\n", all.find("contact ")) + 5; // behind the first record
    const std::size_t second = all.rfind("<EOR>") + 5;
    for (std::size_t length = 0; length <= all.size(); ++length) {
        writeFile(path_, all.substr(0, length));
        std::size_t repaired;
        {
            AdifLog log(path_);
            repaired = log.repaired();
            log.add(someContact("LAST"));
        }
        std::vector<std::string> expected;
        if (length >= first)
            expected.emplace_back("G4ABC");
        if (length >= second)
            expected.emplace_back("W9XYZ");
        expected.emplace_back("LAST");
        ASSERT_EQ(calls(path_), expected) << length;
        if (length > first + 1 && length < second) {
            ASSERT_EQ(repaired, length - first - 1) << length;
            ASSERT_TRUE(readFile(path_ + ".damaged").ends_with(all.substr(first + 1, repaired) + "\n"));
        }
    }
}

TEST_F(AdifFile, LogsOfOtherProgramsAreGoneOnWith) {
    const std::string theirs =
        "Some logger <3 you\r\n<adif_ver:5>3.1.0\r\n<eoh>\r\n<call:5:s>K2DEF <mode:2>CW <eor>";
    writeFile(path_, theirs);
    AdifLog(path_).add(someContact());
    const std::string text = readFile(path_);
    ASSERT_TRUE(text.starts_with(theirs + "\n<CALL:5>G4ABC "));
    const std::string headless = "<call:5>K2DEF<eor>\n";
    writeFile(path_, headless);
    AdifLog(path_).add(someContact());
    EXPECT_TRUE(readFile(path_).starts_with(headless + "<CALL:5>G4ABC "));
}

TEST_F(AdifFile, AFaultInTheMiddleIsLeftAlone) {
    for (const std::string fault :
         {"<CALL:nonsense>", "<CALL:>", "<CALL:9999>", "<CALL:99999999999999999999>"}) {
        const std::string faulty =
            "x <EOH>\n<CALL:5>K2DEF <EOR>\n" + fault + "K3GHI <EOR>\n<CALL:5>K4JKL <EOR>\n";
        writeFile(path_, faulty);
        AdifLog log(path_);
        log.add(someContact());
        EXPECT_EQ(log.repaired(), 0U) << fault;
        EXPECT_TRUE(readFile(path_).starts_with(faulty + "<CALL:5>G4ABC ")) << fault;
    }
}

TEST_F(AdifFile, OtherFilesAreNotTouched) {
    for (const std::string text : {"a letter", "<html>", "Contacts made with somebody else"}) {
        writeFile(path_, text);
        EXPECT_THROW(AdifLog{path_}, Failure);
        EXPECT_EQ(readFile(path_), text);
    }
    EXPECT_THROW(AdifLog{folder_.path()}, Failure);
    EXPECT_THROW(AdifLog{folder_.file("no/such/folder.adi")}, Failure);
    EXPECT_THROW(AdifLog{"/dev/null"}, Failure);
}

TEST_F(AdifFile, AFullDiskLeavesWholeRecords) {
    AdifLog log(path_);
    log.add(someContact("G4ABC"));
    const std::string before = readFile(path_);
    // A limit to the file's size, which lets half of the next record through.
    rlimit limit{}, none{};
    getrlimit(RLIMIT_FSIZE, &none);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    limit = {before.size() + 20, none.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_THROW(log.add(someContact("W9XYZ")), Failure);
    setrlimit(RLIMIT_FSIZE, &none);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(readFile(path_), before);
    log.add(someContact("W9XYZ"));
    EXPECT_EQ(calls(path_), (std::vector<std::string>{"G4ABC", "W9XYZ"}));
}

TEST_F(AdifFile, OnlyCharactersOfTheFormat) {
    Contact contact = someContact();
    contact.name = "J\xc3\xb6rg";
    contact.comment = "two\nlines";
    AdifLog(path_).add(contact);
    const Record record = readAdif(readFile(path_)).at(0);
    EXPECT_EQ(record.at("NAME"), "J??rg");
    EXPECT_EQ(record.at("COMMENT"), "two?lines");
}

TEST(AdifModes, AreFiledAsTheFormatDoes) {
    const struct {
        const char *mode, *expected, *submode;
    } rows[] = {{"FT8", "FT8", ""}, {"FT4", "MFSK", "FT4"},    {"USB", "SSB", "USB"}, {"LSB", "SSB", "LSB"},
                {"CW", "CW", ""},   {"PSK31", "PSK", "PSK31"}, {"RTTY", "RTTY", ""},  {"AM", "AM", ""}};
    for (const auto& row : rows) {
        EXPECT_EQ(adifMode(row.mode).mode, row.expected);
        EXPECT_EQ(adifMode(row.mode).submode, row.submode);
    }
}

TEST(AdifBands, HaveTheirEnds) {
    const struct {
        long long hertz;
        const char* band;
    } rows[] = {{136'000, "2190m"},
                {475'000, "630m"},
                {1'800'000, "160m"},
                {2'000'000, "160m"},
                {2'000'001, ""},
                {3'573'000, "80m"},
                {5'357'000, "60m"},
                {7'074'000, "40m"},
                {10'136'000, "30m"},
                {13'999'999, ""},
                {14'350'000, "20m"},
                {18'100'000, "17m"},
                {21'074'000, "15m"},
                {24'915'000, "12m"},
                {28'074'000, "10m"},
                {50'313'000, "6m"},
                {70'100'000, "4m"},
                {144'174'000, "2m"},
                {432'000'000, "70cm"},
                {1'296'000'000, "23cm"},
                {10'368'000'000, "3cm"},
                {-1, ""},
                {0, ""}};
    for (const auto& row : rows)
        EXPECT_EQ(adifBand(row.hertz), row.band) << row.hertz;
}
