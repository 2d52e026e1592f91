#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "zulhttp/httpsettings.h"

namespace {

using Text = std::optional<std::string>;

std::string mistakeIn(const Text& http, const Text& remote)
{
    std::optional<zulhttp::HttpSettings> settings;
    return zulhttp::readHttpSettings(http, remote, &settings);
}

} // namespace

TEST(HttpSettingsTest, loopbackAddressesNeedNoNames)
{
    for (const char* http : {"127.0.0.1:0", "127.3.2.1:80", "localhost:8080", "[::1]:8080"}) {
        EXPECT_EQ(mistakeIn(http, {}), "") << http;
    }
    for (const char* http : {"0.0.0.0:0", "[::]:80", "192.0.2.1:80", "watch.example:80"}) {
        EXPECT_NE(mistakeIn(http, {}).find("--http-remote"), std::string::npos) << http;
        EXPECT_EQ(mistakeIn(http, "watch.example"), "") << http;
    }
}

TEST(HttpSettingsTest, namesAreSeparatedByCommas)
{
    std::optional<zulhttp::HttpSettings> settings;
    EXPECT_EQ(zulhttp::readHttpSettings("[::]:0", "a.example,192.0.2.1,2001:db8::1", &settings), "");
    EXPECT_EQ(settings->host, "::");
    EXPECT_EQ(settings->port, 0);
    EXPECT_EQ(settings->remoteNames, (std::vector<std::string>{"a.example", "192.0.2.1", "2001:db8::1"}));
    for (const char* remote : {"", ",", "a,", "a b", "http://a", "a:80"}) {
        EXPECT_NE(mistakeIn("localhost:0", remote).find("--http-remote"), std::string::npos) << remote;
    }
}

TEST(HttpSettingsTest, nothingIsServedUnlessItIsAskedFor)
{
    std::optional<zulhttp::HttpSettings> settings;
    EXPECT_EQ(zulhttp::readHttpSettings({}, {}, &settings), "");
    EXPECT_FALSE(settings);
    EXPECT_EQ(mistakeIn({}, "a"), "--http-remote needs --http.");
    for (const char* http : {"", "localhost", "localhost:", ":80", "localhost:65536", "::1:80"}) {
        EXPECT_NE(mistakeIn(http, {}).find("--http is not ADDRESS:PORT"), std::string::npos) << http;
    }
}
