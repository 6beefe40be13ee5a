#include "ServerTest.hpp"

#include "OVRoot/Base64.hpp"

#include <set>

namespace {

using nlohmann::json;

const json NoMails = json::array();

json Flag(const json& id, const json& value)
{
    return json::array({id, value});
}

class MailTest : public ServerTest {
protected:
    static Answer Ask(Client& client, const char* method, const std::string& what,
                      const json& body = json::object())
    {
        return client.Ask(method, Bridge("mails" + what), body.dump());
    }
    static std::string Send(Client& client, const json& mail)
    {
        return Ask(client, "POST", "", mail).json.value("id", "");
    }
    static json Mails(Client& client, const std::string& query = "")
    {
        return Ask(client, "GET", query).json.at("mails");
    }
    /// The ids of all pages, in order.
    template <class BetweenPages>
    static std::vector<std::string> AllIds(Client& client, BetweenPages between)
    {
        std::vector<std::string> ids;
        std::string cursor;
        do {
            const auto page = Ask(client, "GET", "?since=0&cursor=" + cursor).json;
            EXPECT_LE(page.at("mails").size(), 1000u);
            for (const auto& mail : page.at("mails"))
                ids.push_back(mail.at("id"));
            cursor = page.at("cursor");
            between(ids);
        } while (!cursor.empty());
        return ids;
    }

    Client anna = SignedIn("anna.novak");
    Client lena = SignedIn("lena.fischer");
};

}  // namespace

TEST_F(MailTest, AMailReachesEachRecipientOnceAsItWasSentAndItsSenderAsACopy)
{
    const json header = {{"Subject", " \xe4\xb8\xad\"\\ "},
                         {R"(a\u0007)", R"(\uD800)"},
                         {"", ""},
                         {"Sender", "lena.fischer"}};
    json signedHeader = header;  // by who sent it, whatever he wrote
    signedHeader["Sender"] = "anna.novak";
    signedHeader["SenderFullName"] = "Anna Nov\xc3\xa1k";
    const std::string body("\0\xff\n", 3);
    auto sent = Mail("k", {"LENA.Fischer", "lena.fischer", "omar.haddad"}, OV::EncodeBase64(body));
    sent.at("message")["header"] = header;
    const std::string id = Send(anna, sent);
    const auto expected = [&](const json& got, bool isCopy) {
        return json{{"id", id},
                    {"read", isCopy},
                    {"copy", isCopy},
                    {"historical", false},
                    {"timeStamp", got.at(0).at("timeStamp")},
                    {"header", signedHeader},
                    {"body", OV::EncodeBase64(body)}};
    };
    auto omar = SignedIn("omar.haddad");
    for (auto* reader : {&lena, &omar, &anna}) {
        const auto got = Mails(*reader);
        ASSERT_EQ(got.size(), 1u);
        EXPECT_EQ(got[0], expected(got, reader == &anna));
    }
    const std::string own = Send(anna, Mail("own", {"anna.novak"}));
    const auto got = Mails(anna);
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[1].at("id"), own);
    EXPECT_EQ(got[1].at("copy"), false);
    EXPECT_EQ(got[1].at("read"), false);
}

TEST_F(MailTest, AKeyIsKnownAfterEverybodyDeletedTheMailAndItsRecipientLeft)
{
    const auto mail = Mail("key", {"lena.fischer"});
    const std::string id = Send(anna, mail);
    EXPECT_NE(Send(lena, Mail("key", {"anna.novak"})), id);
    for (auto* user : {&anna, &lena})
        EXPECT_EQ(Ask(*user, "POST", "/delete", {{"ids", {"unknown", id, id}}}).json,
                  json::object());
    Sql("DELETE FROM members WHERE user_id = (SELECT id FROM users WHERE login = 'lena.fischer')");
    server.Kill();
    server.Start();
    auto again = SignedIn("anna.novak");
    EXPECT_EQ(Ask(again, "POST", "", mail).json, (json{{"id", id}, {"duplicate", true}}));
    EXPECT_EQ(Mails(again).size(), 1u);
}

TEST_F(MailTest, ARefusedMailReachesNobody)
{
    const auto with = [](const char* pointer, const json& value) {
        auto mail = Mail("k", {"lena.fischer"});
        mail[json::json_pointer(pointer)] = value;
        return mail;
    };
    const std::pair<json, int> cases[] = {
        {with("/recipients", {"lena.fischer", "nobody"}), 12},
        {with("/recipients", {"lena.fischer", "liam.walsh"}), 12},
        {with("/recipients", json::array()), 1},
        {with("/recipients", {"lena.fischer", 1}), 1},
        {with("/recipients", std::vector<std::string>(1001, "lena.fischer")), 4},
        {with("/key", ""), 1},
        {with("/key", std::string(65, 'k')), 4},
        {with("/message", 1), 1},
        {with("/message/header", json::array()), 1},
        {with("/message/header", {{"a", 1}}), 1},
        {with("/message/body", "YQ"), 1},
        {with("/message/body", nullptr), 1},
        {with("/message/body", std::string((8u << 20) / 3 * 4 + 8, 'A')), 4},
    };
    for (const auto& [mail, code] : cases)
        EXPECT_EQ(Ask(anna, "POST", "", mail).Code(), code) << mail.dump().substr(0, 200);
    for (auto* user : {&anna, &lena})
        EXPECT_EQ(Ask(*user, "GET", "").json.at("mails"), NoMails);
    EXPECT_EQ(anna.Ask("GET", BridgeSignals(0, 0)).json.at("next"), 0);
    // None of them used the key up.
    EXPECT_NE(
        Send(anna, Mail("k", {"lena.fischer"}, OV::EncodeBase64(std::string(8u << 20, '\xff')))),
        "");

    auto liam = SignedIn("liam.walsh");
    for (const auto& [method, what] : {std::pair{"GET", ""},
                                       {"POST", ""},
                                       {"GET", "/status"},
                                       {"PUT", "/status"},
                                       {"GET", "/historical"},
                                       {"PUT", "/historical"},
                                       {"POST", "/delete"},
                                       {"POST", "/deleted"}})
        EXPECT_EQ(Ask(liam, method, what).Code(), 13) << method << what;
    for (const char* cursor : {"1", "-", "1-", "-1-x", "x", "1-2-3", "99999999999999999999-1"})
        EXPECT_EQ(Ask(anna, "GET", std::string("?cursor=") + cursor).Code(), 1) << cursor;
}

TEST_F(MailTest, ItsSignalReachesRecipientsAndSenderAlone)
{
    auto marco = SignedIn("marco.rossi");
    Hold(anna, "anna.novak", 0);
    Hold(lena, "lena.fischer", 0);
    Hold(marco, "marco.rossi", 0);
    auto sender = SignedIn("anna.novak");
    ASSERT_NE(Send(sender, Mail("k", {"lena.fischer"})), "");
    for (auto* listener : {&anna, &lena})
        EXPECT_EQ(listener->End().json.at("signals").at(0).at("id"), 4);
    // Whoever goes on waiting hears of what comes next alone, and so does who asks later.
    ASSERT_EQ(sender.Ask("POST", Bridge("sessions"), "{}").status, 200);
    const json next{{{"sequence", 2}, {"id", 2}, {"projectId", Sample::HarbourBridge}}};
    EXPECT_EQ(marco.End().json, (json{{"signals", next}, {"next", 2}}));
    EXPECT_EQ(marco.Ask("GET", BridgeSignals(0, 1)).json.at("signals"), next);
}

TEST_F(MailTest, PagesHoldEveryMailOnceWhateverIsDeletedOrArrivesInBetween)
{
    std::vector<std::string> expected;
    for (int i = 0; i < 2100; ++i)
        expected.push_back(Send(anna, Mail(std::to_string(i), {"lena.fischer"})));
    const auto ids = AllIds(lena, [&](const auto& got) {
        if (got.size() != 1000)
            return;
        // The mail that the cursor names, too.
        const std::vector<std::string> gone(expected.begin() + 500, expected.begin() + 1500);
        ASSERT_EQ(Ask(lena, "POST", "/delete", {{"ids", gone}}).status, 200);
        expected.push_back(Send(anna, Mail("late", {"lena.fischer"})));
    });
    expected.erase(expected.begin() + 1000, expected.begin() + 1500);
    EXPECT_TRUE(ids == expected) << ids.size();
}

TEST_F(MailTest, PagesEndBefore8MiBAndHoldALargerMailAlone)
{
    std::vector<std::string> expected;
    for (const unsigned size : {1u, 8u << 20, 1u, 3u << 20, 2u << 20, 2u << 20})
        expected.push_back(Send(anna, Mail(std::to_string(expected.size()), {"lena.fischer"},
                                           OV::EncodeBase64(std::string(size, 'x')))));
    std::vector<std::size_t> ends;
    EXPECT_EQ(AllIds(lena, [&](const auto& got) { ends.push_back(got.size()); }), expected);
    EXPECT_EQ(ends, (std::vector<std::size_t>{1, 2, 5, 6}));
}

TEST_F(MailTest, TimesNeverGoBackThoughTheClockDoes)
{
    const auto first = Send(anna, Mail("1", {"lena.fischer"}));
    Sql("UPDATE projects SET last_mail_time = 2000000000");
    const auto second = Send(anna, Mail("2", {"lena.fischer"}));
    EXPECT_EQ(Ask(lena, "POST", "/delete", {{"ids", {second}}}).status, 200);
    const auto third = Send(anna, Mail("3", {"lena.fischer"}));
    const auto mails = Mails(lena, "?since=2000000000");
    ASSERT_EQ(mails.size(), 1u);
    EXPECT_EQ(mails[0].at("id"), third);
    EXPECT_EQ(mails[0].at("timeStamp"), 2000000000);
    EXPECT_EQ(Mails(lena, "?since=2000000001"), json::array());
    EXPECT_EQ(Mails(lena, "?since=18446744073709551615"), json::array());
}

TEST_F(MailTest, FlagsAreToldByChangeAndBelongToTheirUser)
{
    const auto a = Send(anna, Mail("a", {"lena.fischer"}));
    const auto b = Send(anna, Mail("b", {"lena.fischer"}));
    const auto foreign = Send(anna, Mail("c", {"anna.novak"}));
    for (const std::string route : {"/status", "/historical"}) {
        const auto flags = [&](Client& client, std::uint64_t after) {
            return Ask(client, "GET", route + "?after=" + std::to_string(after)).json;
        };
        const auto set = [&](const json& entries) {
            return Ask(lena, "PUT", route, {{"entries", entries}}).Code();
        };
        const std::uint64_t before = flags(lena, 0).at("change");
        EXPECT_EQ(flags(lena, before).at("entries"), json::array());
        EXPECT_EQ(set(json::array(
                      {Flag(b, true), Flag(a, false), Flag(foreign, true), Flag("unknown", true)})),
                  0);
        // All or none of them.
        for (const json& damaged :
             {json::array({a}), Flag(a, 1), Flag(1, true), json::array({a, true, true})})
            EXPECT_EQ(set(json::array({Flag(a, true), damaged})), 1) << damaged;
        const auto told = flags(lena, before);
        EXPECT_EQ(told.at("entries"), json::array({Flag(b, true)})) << route;
        EXPECT_GT(told.at("change").get<std::uint64_t>(), before);
        // The last page tells the same of those that are set.
        const auto page = [&](std::uint64_t after) {
            return Ask(lena, "GET", "?since=4000000000&after=" + std::to_string(after)).json;
        };
        const bool isRead = route == "/status";
        EXPECT_EQ(page(before).at("flags"), (json{{"read", isRead ? json{b} : NoMails},
                                                  {"historical", isRead ? NoMails : json{b}}}));
        EXPECT_EQ(page(before).at("count"), 2);
        for (const auto after : {std::uint64_t{0}, ~std::uint64_t{0}, before + 1000}) {
            EXPECT_FALSE(page(after).contains("flags")) << after;
            const auto all = flags(lena, after).at("entries").get<std::set<json>>();
            EXPECT_EQ(all, (std::set<json>{Flag(a, false), Flag(b, true)})) << route << after;
        }
        const auto others = flags(anna, 0);
        EXPECT_EQ(others.at("entries").size(), 3u);
        for (const auto& entry : others.at("entries"))
            EXPECT_EQ(entry.at(1), entry.at(0) != foreign && route == "/status") << entry;
        ASSERT_EQ(server.Terminate(), 0);
        server.Start();
        anna = SignedIn("anna.novak");
        lena = SignedIn("lena.fischer");
        EXPECT_EQ(flags(lena, before), told) << route;
        EXPECT_EQ(Mails(lena).at(1).at(route == "/status" ? "read" : "historical"), true);
    }
}

TEST_F(MailTest, AMemberWhoWasRemovedKeepsNothingEvenWhenHeComesBack)
{
    ASSERT_NE(Send(anna, Mail("a", {"lena.fischer"})), "");
    const std::string who = "user_id = (SELECT id FROM users WHERE login = 'lena.fischer')";
    Sql("CREATE TABLE kept AS SELECT * FROM members WHERE " + who + "; DELETE FROM members WHERE " +
        who);
    EXPECT_EQ(Ask(lena, "GET", "").Code(), 13);
    Sql("INSERT INTO members SELECT * FROM kept");
    EXPECT_EQ(Ask(lena, "GET", "").json.at("mails"), NoMails);
    EXPECT_EQ(Mails(anna).size(), 1u);
}
