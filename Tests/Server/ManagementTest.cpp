#include "ServerTest.hpp"

#include "OVRoot/Base64.hpp"

#include <vector>

namespace {

using nlohmann::json;

class ManagementTest : public ServerTest {
protected:
    Client Manager(const std::string& user)
    {
        return {server.ManagementPort(), user, ServerProcess::Password};
    }
    static std::string UserPath(const std::string& login, const std::string& what)
    {
        return "/root/syncrav2/users/" + login + '/' + what;
    }
};

const std::string Png = std::string("\x89PNG\r\n\x1a\n", 8) + '\0';
const std::string Jpeg = "\xff\xd8\xff\xe0";

json PhotoBody(const std::string& type, const std::string& data)
{
    return {{"type", type}, {"data", OV::EncodeBase64(data)}};
}

}  // namespace

TEST_F(ManagementTest, APhotoIsChangedByItsUserAndAdministratorsAndIsAlwaysAPicture)
{
    struct Case {
        const char* user;
        std::string login;
        json body;
        int code;
    };
    const auto large = Jpeg + std::string((4u << 20) - Jpeg.size(), '\xff');
    const std::vector<Case> cases = {
        {"jonas.berg", "jonas.berg", PhotoBody("image/png", Png), 0},
        {"jonas.berg", "jonas.berg", PhotoBody("image/jpeg", Png), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/png", Jpeg), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/png", ""), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/gif", "GIF89a"), 1},
        {"jonas.berg", "jonas.berg", PhotoBody("", Png), 1},
        {"jonas.berg", "jonas.berg", {{"type", "image/png"}, {"data", "=no base64="}}, 1},
        {"jonas.berg", "jonas.berg", {{"type", "image/png"}}, 1},
        {"jonas.berg", "jonas.berg", PhotoBody("image/jpeg", large + 'x'), 4},
        {"jonas.berg", "anna.novak", PhotoBody("image/png", Png), 13},
        {"anna.novak", "jonas.berg", PhotoBody("image/png", Png), 13},
        {"admin", "nobody", PhotoBody("image/png", Png), 12},
        {"admin", "jonas.berg", PhotoBody("image/jpeg", large), 0},
        {"jonas.berg", "jonas.berg", PhotoBody("", ""), 0},
    };
    auto reader = Manager("liam.walsh");
    auto last = PhotoBody("", "");
    for (const auto& [user, login, body, code] : cases) {
        const auto answer = Manager(user).Ask("PUT", UserPath(login, "photo"), body.dump());
        EXPECT_EQ(answer.Code(), code) << user << ' ' << body.dump().substr(0, 100);
        if (code == 0)
            last = body;
        EXPECT_TRUE(reader.Ask("GET", UserPath("jonas.berg", "photo")).json == last)
            << user << ' ' << body.dump().substr(0, 100);
    }
    EXPECT_EQ(reader.Ask("GET", UserPath("nobody", "photo")).Code(), 12);
    for (const auto& [login, signature] :
         {std::pair{"anna.novak", Png.substr(0, 8)}, {"marco.rossi", Jpeg.substr(0, 3)}}) {
        const auto photo = reader.Ask("GET", UserPath(login, "photo")).json;
        EXPECT_TRUE(OV::DecodeBase64(photo.at("data").get<std::string>())->starts_with(signature))
            << login;
    }
}
