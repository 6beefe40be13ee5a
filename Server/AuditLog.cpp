#include "AuditLog.hpp"

#include "OVRoot/UniString.hpp"
#include "SyncraProtocol/Detail/JsonText.hpp"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace Nexar {

namespace {

namespace fs = std::filesystem;

constexpr int Kept = 5;
constexpr std::size_t RefusalsOfMinute = 600;

std::string Numbered(const std::string& file, int number)
{
    return number == 0 ? file : file + "." + std::to_string(number);
}

struct AuditLine {
    OV::UniString time;
    OV::UniString user;
    OV::UniString address;
    OV::UniString method;
    OV::UniString path;
    std::int32_t status = 0;
};

template <class Visitor>
void Describe(Visitor& v, AuditLine& line)
{
    v("time", line.time);
    v("user", line.user);
    v("address", line.address);
    v("method", line.method);
    v("path", line.path);
    v("status", line.status);
}

struct OmittedLine {
    OV::UniString time;
    std::int64_t omittedRefusals = 0;
};

template <class Visitor>
void Describe(Visitor& v, OmittedLine& line)
{
    v("time", line.time);
    v("omittedRefusals", line.omittedRefusals);
}

/// On the thread of the writer alone.
class RotatedFile {
public:
    RotatedFile(std::string file, std::uint64_t largest) : file_(std::move(file)), largest_(largest)
    {
        Open();
        if (!stream_)
            throw std::runtime_error("Cannot write the audit log \"" + file_ + "\".");
    }
    void Write(const std::string& line)
    {
        if (static_cast<std::uint64_t>(stream_.tellp()) > largest_)
            Rotate();
        stream_ << line << std::flush;
        // After a full disk it goes on where there is room again.
        if (!stream_)
            Open();
    }

private:
    void Open()
    {
        std::error_code ignored;
        stream_ = std::ofstream(file_, std::ios::binary | std::ios::app);
        fs::permissions(file_, fs::perms::owner_read | fs::perms::owner_write, ignored);
        stream_.seekp(0, std::ios::end);
    }
    void Rotate()
    {
        std::error_code ignored;
        stream_.close();
        for (int number = Kept - 1; number >= 0; --number)
            fs::rename(Numbered(file_, number), Numbered(file_, number + 1), ignored);
        Open();
    }

    std::string file_;
    std::uint64_t largest_;
    std::ofstream stream_;
};

std::string Now()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

std::string PathOf(const HttpRequest& request)
{
    std::string path;
    for (const auto& component : request.path)
        path += "/" + component;
    return path;
}

}  // namespace

AuditLog::AuditLog(const std::string& file, std::uint64_t largest)
{
    if (file.empty())
        return;
    const auto rotated = std::make_shared<RotatedFile>(file, largest);
    writer_ =
        std::make_unique<LogWriter>([rotated](const std::string& line) { rotated->Write(line); });
}

AuditLog::~AuditLog()
{
    WriteOmitted();
}

void AuditLog::Add(const HttpRequest& request, const std::string& user,
                   const HttpResponse& response)
{
    const bool lacksRight = response.status == 401 || response.status == 403;
    const bool isRefusal = lacksRight || response.status == 429;
    if (!writer_ || (request.method == "GET" && !lacksRight) || (isRefusal && !HasRoomForRefusal()))
        return;
    AuditLine line;
    line.time = OV::FromUtf8(Now());
    line.user = OV::FromUtf8(user);
    line.address = OV::FromUtf8(request.address);
    line.method = OV::FromUtf8(request.method);
    line.path = OV::FromUtf8(PathOf(request));
    line.status = response.status;
    writer_->Write(Syncra::Protocol::WriteJson(line) + '\n');
}

bool AuditLog::HasRoomForRefusal()
{
    const auto now = Clock::now();
    if (now - minute_ >= std::chrono::minutes(1)) {
        WriteOmitted();
        minute_ = now;
        refusals_ = 0;
    }
    return ++refusals_ <= RefusalsOfMinute;
}

void AuditLog::WriteOmitted()
{
    if (!writer_ || refusals_ <= RefusalsOfMinute)
        return;
    OmittedLine line;
    line.time = OV::FromUtf8(Now());
    line.omittedRefusals = static_cast<std::int64_t>(refusals_ - RefusalsOfMinute);
    writer_->Write(Syncra::Protocol::WriteJson(line) + '\n');
}

}  // namespace Nexar
