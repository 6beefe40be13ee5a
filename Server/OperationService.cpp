#include "OperationService.hpp"

#include "Router.hpp"
#include "Store/OpenStore.hpp"

#include <filesystem>
#include <map>

namespace Nexar {

void OperationService::Answer(const HttpRequest& request, const Reply& reply)
{
    const bool isOne = request.method == "GET" && request.path.size() == 1;
    if (isOne && request.path[0] == "health")
        AnswerHealth(reply);
    else if (isOne && request.path[0] == "metrics")
        reply({200, MetricsText(), {{"Content-Type", "text/plain; version=0.0.4"}}});
    else
        reply(ErrorResponse(Refusal(Syncra::Protocol::ErrorCode::NoSuchRoute,
                                    "This port has GET /health and GET /metrics.")));
}

/// It is well when it could write, and will be there for the next request.
void OperationService::AnswerHealth(const Reply& reply)
{
    if (server_.IsEnding())
        return reply({503, R"({"status":"the server is being stopped"})"});
    workers_.Write(
        {},
        [this] {
            (void)database_.Prepare("SELECT 1 FROM configuration c /* all */ /* hold c */").Step();
        },
        [reply](std::exception_ptr error) {
            reply(error ? HttpResponse{503, R"({"status":"the store cannot be written"})"}
                        : HttpResponse{200, R"({"status":"ok"})"});
        });
}

std::string OperationService::MetricsText() const
{
    const auto http = server_.GetLoad();
    const auto store = workers_.GetLoad();
    const auto number = [](auto value) { return static_cast<double>(value); };
    std::map<std::string, double> gauges{{"nexar_connections", number(http.connections)},
                                         {"nexar_requests_under_way", number(http.underWay)},
                                         {"nexar_bytes_in_flight", number(http.bytesInFlight)},
                                         {"nexar_waiting_reads", number(store.reads)},
                                         {"nexar_waiting_writes", number(store.writes)},
                                         {"nexar_waiting_passwords", number(passwords_.Waiting())},
                                         {"nexar_commits", number(store.commits)},
                                         {"nexar_writes", number(store.writesDone)}};
    // A database has its own tools for that.
    if (!IsPostgresStore(store_)) {
        const auto sizeOf = [&](const char* ending) {
            std::error_code error;
            const auto size = std::filesystem::file_size(store_ + ending, error);
            return error ? 0.0 : static_cast<double>(size);
        };
        gauges["nexar_store_bytes"] = sizeOf("");
        gauges["nexar_store_log_bytes"] = sizeOf("-wal");
    }
    return metrics_.Text(gauges);
}

}  // namespace Nexar
