#pragma once

#include "SYCommunication/ServerTrust.hpp"
#include "Support/Eventually.hpp"
#include "Support/ServerProcess.hpp"
#include "Support/TestCertificates.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>

/// The ways in which a server on 127.0.0.1 may not be the one that was meant.
struct DoubtfulCase {
    const char* name;
    /// Its certificate; null for a server that speaks no TLS.
    const char* shows;
    /// The one that the user trusted there before; null for none.
    const char* trusted;
    /// Whether it is a stranger who keeps what he hears; else the real server.
    bool isImpostor;
    /// Of the words that the user reads.
    const char* problem;
};

inline constexpr DoubtfulCase DoubtfulCases[] = {
    {"Impostor", "stranger", nullptr, true, "Nobody but the server itself"},
    {"Expired", "expired", nullptr, false, "has expired"},
    {"WrongName", "elsewhere", nullptr, false, "for another name"},
    {"Downgraded", nullptr, "own", false, "no TLS"},
    {"Changed", "stranger", "own", true, "another certificate"},
};

/// All certificates of the cases; those of the authority but for their one fault would do.
inline void MakeDoubtful(const TestCertificates& certificates)
{
    certificates.Make("own");
    certificates.MakeSelfSigned("stranger");
    certificates.Make("expired", "IP:127.0.0.1", -1);
    certificates.Make("elsewhere", "DNS:elsewhere.example");
}

/// One that speaks TLS, answers nothing, and keeps what it hears: "heard" in its folder.
class Impostor {
public:
    Impostor(const std::filesystem::path& folder, const std::string& certificate,
             const std::string& key)
        : folder_(folder), server_([&] {
              prctl(PR_SET_PDEATHSIG, SIGKILL);
              execlp("python3", "python3", "-c", Script, folder.c_str(), certificate.c_str(),
                     key.c_str(), nullptr);
              return 127;
          })
    {
        EXPECT_TRUE(Eventually([this] {
            std::ifstream(folder_ / "port") >> port_;
            return port_ != 0;
        }));
    }

    [[nodiscard]] std::uint16_t Port() const { return port_; }
    /// What came through TLS.
    [[nodiscard]] std::string Heard() const { return ReadBytes(folder_ / "heard"); }

private:
    static constexpr const char* Script = R"(
import os, socket, ssl, sys
folder, certificate, key = sys.argv[1:]
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(certificate, key)
listener = socket.create_server(("127.0.0.1", 0))
heard = open(folder + "/heard", "wb", buffering=0)
with open(folder + "/port.new", "w") as file:
    file.write(str(listener.getsockname()[1]))
os.rename(folder + "/port.new", folder + "/port")
while True:
    plain, _ = listener.accept()
    plain.settimeout(10)
    try:
        with context.wrap_socket(plain, server_side=True) as peer:
            while b"password" not in (data := peer.recv(65536)) and data:
                heard.write(data)
            heard.write(data)
    except OSError:
        plain.close()
)";

    std::filesystem::path folder_;
    std::uint16_t port_ = 0;
    ChildProcess server_;
};

/// Options of a real server that shows the certificate of that name; null for one without TLS.
inline std::vector<std::string> OptionsShowing(const TestCertificates& certificates,
                                               const char* name)
{
    std::vector<std::string> options{"--sample", "--sample-lines", "0"};
    if (name != nullptr)
        options.insert(options.end(), {"--certificate", certificates.Certificate(name), "--key",
                                       certificates.Key(name)});
    return options;
}

/// The server of a case, running, and trusted before as the case has it.
class DoubtfulServer {
public:
    DoubtfulServer(const DoubtfulCase& which, const std::filesystem::path& parent,
                   const TestCertificates& certificates, const std::vector<std::string>& more = {})
    {
        const auto place = parent / which.name;
        std::filesystem::create_directory(place);
        auto options = OptionsShowing(certificates, which.shows);
        options.insert(options.end(), more.begin(), more.end());
        if (which.isImpostor)
            impostor_.emplace(place, certificates.Certificate(which.shows),
                              certificates.Key(which.shows));
        else
            server_.emplace(place, options);
        if (which.trusted != nullptr)
            Communication::ServerTrust::GetInstance().Trust(
                {u"127.0.0.1", Port(), OV::FromUtf8(certificates.Fingerprint(which.trusted))},
                true);
    }

    [[nodiscard]] std::uint16_t Port() const
    {
        return impostor_ ? impostor_->Port() : server_->ModelPort();
    }
    /// What an impostor heard; nothing of the real server.
    [[nodiscard]] std::string Heard() const { return impostor_ ? impostor_->Heard() : ""; }

private:
    std::optional<ServerProcess> server_;
    std::optional<Impostor> impostor_;
};
