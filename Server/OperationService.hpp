#pragma once

#include "HttpServer.hpp"
#include "Metrics.hpp"
#include "PasswordWorker.hpp"
#include "StoreWorkers.hpp"

#include <string>

namespace Nexar {

/// What an administrator's tools ask: whether the server can do its work, and what it does. On a
/// port of its own, without a sign-in.
class OperationService {
public:
    OperationService(HttpServer& server, Database& database, StoreWorkers& workers,
                     PasswordWorker& passwords, const Metrics& metrics, std::string store)
        : server_(server), database_(database), workers_(workers), passwords_(passwords),
          metrics_(metrics), store_(std::move(store))
    {}

    void Answer(const HttpRequest& request, const Reply& reply);

private:
    void AnswerHealth(const Reply& reply);
    [[nodiscard]] std::string MetricsText() const;

    HttpServer& server_;
    Database& database_;
    StoreWorkers& workers_;
    PasswordWorker& passwords_;
    const Metrics& metrics_;
    std::string store_;
};

}  // namespace Nexar
