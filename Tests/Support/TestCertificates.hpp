#pragma once

#include "Support/FileBytes.hpp"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

/// An authority of the test's own in a folder, and certificates that it gives: NAME.pem, NAME.key.
class TestCertificates {
public:
    explicit TestCertificates(std::filesystem::path folder) : folder_(std::move(folder))
    {
        Shell("openssl req -x509 " + NewKey +
              " -days 2 -subj /CN=Authority -keyout ca.key -out ca.pem");
    }

    /// For `host`, "DNS:..." or "IP:..."; with less than a day it has expired.
    void Make(const std::string& name, const std::string& host = "IP:127.0.0.1", int days = 2) const
    {
        Shell("openssl req " + NewKey + " -subj /CN=" + name + " -addext subjectAltName=" + host +
              " -keyout " + name +
              ".key -out request && openssl x509 -req -in request -CA ca.pem "
              "-CAkey ca.key -CAcreateserial -copy_extensions copy -days " +
              std::to_string(days) + " -out " + name + ".pem");
    }
    /// One that nobody vouches for.
    void MakeSelfSigned(const std::string& name) const
    {
        Shell("openssl req -x509 " + NewKey + " -days 2 -subj /CN=" + name +
              " -addext subjectAltName=IP:127.0.0.1 -keyout " + name + ".key -out " + name +
              ".pem");
    }

    [[nodiscard]] std::string Authority() const { return Certificate("ca"); }
    [[nodiscard]] std::string Certificate(const std::string& name) const
    {
        return folder_ / (name + ".pem");
    }
    [[nodiscard]] std::string Key(const std::string& name) const
    {
        return folder_ / (name + ".key");
    }
    /// "AB:CD:...".
    [[nodiscard]] std::string Fingerprint(const std::string& name) const
    {
        Shell("openssl x509 -noout -fingerprint -sha256 -in " + name + ".pem > fingerprint");
        std::string line = ReadBytes(folder_ / "fingerprint");
        line.erase(line.find_last_not_of("\n") + 1);
        return line.substr(line.find('=') + 1);
    }

private:
    static inline const std::string NewKey = "-newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes";

    void Shell(const std::string& command) const
    {
        if (std::system(
                ("cd '" + folder_.string() + "' && (" + command + ") 2>openssl.log").c_str()))
            throw std::runtime_error("openssl: " + ReadBytes(folder_ / "openssl.log"));
    }

    std::filesystem::path folder_;
};
