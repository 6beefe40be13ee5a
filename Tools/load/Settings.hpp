#pragma once

#include <cstdint>
#include <string>

namespace Load {

struct Settings {
    std::string address = "127.0.0.1";
    std::uint16_t model = 19001;
    std::uint16_t management = 19002;
    std::string admin = "anna.novak";
    std::string password = "nexar-sample";
    int members = 200;
    int projects = 10;
    int seconds = 60;
    int settleSeconds = 60;      ///< at the end, for what is still on its way
    double mailsEachSecond = 5;  ///< of all members together
    int recipients = 3;          ///< of each mail
    double refreshSeconds = 60;  ///< between a member's looks at projects and members
    double logSeconds = 300;     ///< between his looks at the log
    double signInSeconds = 600;  ///< between his sign-ins
    bool writesJson = false;
};

}  // namespace Load
