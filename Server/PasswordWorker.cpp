#include "PasswordWorker.hpp"

#include <utility>

namespace Nexar {

void PasswordWorker::Check(const std::string& hash, const std::string& password,
                           std::function<void(bool)> then)
{
    if (!hash.empty() && hash_.IsRemembered(hash, password)) {
        then(true);
        return;
    }
    worker_.Execute(OV::MakeTask(
        [this, open = server_.HoldOpen(), hash, password, then = std::move(then)]() mutable {
            const bool right = hash_.Check(hash, password);
            server_.Post([right, then = std::move(then)] { then(right); });
        }));
}

void PasswordWorker::Make(const std::string& password,
                          std::function<void(const std::string& hash)> then)
{
    worker_.Execute(
        OV::MakeTask([this, open = server_.HoldOpen(), password, then = std::move(then)]() mutable {
            auto hash = hash_.Make(password);
            server_.Post([hash = std::move(hash), then = std::move(then)] { then(hash); });
        }));
}

}  // namespace Nexar
