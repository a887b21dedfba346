// The options, and what they open.
#include "host/failure.hpp"
#include "host/neighbours/neighbours.hpp"
#include "tests/host/neighbours/fake_rig.hpp"
#include "tests/host/temporary.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

using namespace ferrow;

namespace {

NeighbourOptions read(const std::string& line) {
    NeighbourOptions options;
    CLI::App app;
    addNeighbourOptions(app, options);
    app.parse(line);
    return options;
}

} // namespace

TEST(NeighbourOptions, AreReadWithAndWithoutAPlace) {
    const NeighbourOptions none = read("");
    EXPECT_FALSE(none.rigctl || none.wsjtx || none.rigctlVfo);
    const NeighbourOptions bare = read("--rigctl --wsjtx --rigctl-vfo --call K1ABC --grid FN42ab");
    EXPECT_EQ(bare.rigctl, "");
    EXPECT_EQ(bare.wsjtx, "");
    EXPECT_TRUE(bare.rigctlVfo);
    EXPECT_EQ(bare.call, "K1ABC");
    EXPECT_EQ(bare.grid, "FN42ab");
    const NeighbourOptions full = read("--rigctl 127.0.0.2:4534 --wsjtx :2333 --adif log.adi");
    EXPECT_EQ(full.rigctl, "127.0.0.2:4534");
    EXPECT_EQ(full.wsjtx, ":2333");
    EXPECT_EQ(full.adif, "log.adi");
}

TEST(NeighbourOptions, WrongCallsAndLocatorsAreRefused) {
    for (const char* line : {"--call K1", "--call K1<ABC", "--grid F", "--grid ZZ99", "--grid FN4",
                             "--grid FNAA", "--grid FN42abc", "--call"})
        EXPECT_THROW(read(line), CLI::ParseError) << line;
    EXPECT_EQ(read("--call PJ4/K1ABC").call, "PJ4/K1ABC");
}

TEST(Endpoints, AreReadAndWritten) {
    const Endpoint usual{"127.0.0.1", 4532};
    const std::pair<const char*, const char*> good[] = {{"", "127.0.0.1:4532"},
                                                        {"4534", "127.0.0.1:4534"},
                                                        {":4534", "127.0.0.1:4534"},
                                                        {"192.168.1.5", "192.168.1.5:4532"},
                                                        {"192.168.1.5:", "192.168.1.5:4532"},
                                                        {"localhost:1", "127.0.0.1:1"},
                                                        {"0.0.0.0:0", "0.0.0.0:0"},
                                                        {"[::1]", "[::1]:4532"},
                                                        {"[::1]:65535", "[::1]:65535"}};
    for (const auto& [text, expected] : good)
        EXPECT_EQ(parseEndpoint(text, usual, "--rigctl").text(), expected) << text;
    for (const char* text :
         {"example.org:4532", "127.0.0.1:65536", "127.0.0.1:x", "127.0.0.1:-1", "1.2.3:4", "[::1",
          "[::1]4532", "[]:1", "[]", "::1", "70000", "127.0.0.1:1:2", "1.2.3.4 :5"})
        EXPECT_THROW(parseEndpoint(text, usual, "--rigctl"), UsageError) << text;
    EXPECT_TRUE(parseEndpoint("127.78.0.1", usual, "").loopback());
    EXPECT_TRUE(parseEndpoint("[::1]", usual, "").loopback());
    EXPECT_FALSE(parseEndpoint("0.0.0.0", usual, "").loopback());
}

TEST(Neighbours, OpenWhatIsNamedAndNoMore) {
    boost::asio::io_context io;
    test::FakeRig rig;
    Neighbours none(io, rig, {});
    EXPECT_FALSE(none.rigctl());
    EXPECT_EQ(none.wsjtx(), nullptr);
    none.logged({});
    NeighbourOptions options;
    options.rigctl = "127.78.4.1:0";
    options.wsjtx = "127.78.4.1:2237";
    Neighbours some(io, rig, options);
    EXPECT_NE(some.rigctl()->port, 0);
    EXPECT_NE(some.wsjtx(), nullptr);
    options.rigctl = some.rigctl()->text();
    EXPECT_THROW(Neighbours(io, rig, options), Failure);
    options.rigctl = "somewhere";
    EXPECT_THROW(Neighbours(io, rig, options), UsageError);
    options.rigctl.reset();
    options.wsjtx = "127.78.4.1:0";
    EXPECT_THROW(Neighbours(io, rig, options), UsageError);
}

TEST(Neighbours, ContactsGoIntoTheLogWithTheStation) {
    const test::TemporaryFolder folder;
    boost::asio::io_context io;
    test::FakeRig rig;
    NeighbourOptions options;
    options.adif = folder.file("log.adi");
    options.call = "K1ABC";
    options.grid = "FN42";
    {
        Neighbours neighbours(io, rig, options);
        Contact contact;
        contact.call = "G4ABC";
        neighbours.logged(contact);
        contact.myCall = "K1ABC/P";
        neighbours.logged(contact);
    }
    std::ostringstream text;
    text << std::ifstream(options.adif).rdbuf();
    EXPECT_NE(text.str().find("<STATION_CALLSIGN:5>K1ABC <MY_GRIDSQUARE:4>FN42 <EOR>"), std::string::npos)
        << text.str();
    EXPECT_NE(text.str().find("<STATION_CALLSIGN:7>K1ABC/P <MY_GRIDSQUARE:4>FN42 <EOR>"), std::string::npos);
}
