#pragma once

#include "Store/Postgres/PostgresConnection.hpp"

#include <string>
#include <vector>

namespace Nexar {

/// A statement of one connection. Numbers travel as text, bytes as they are; rows come at once, or
/// by parts for who may not want all of them.
class PostgresStatement final : public PreparedStatement {
public:
    PostgresStatement(PostgresConnection& connection, std::uint64_t number, const char* sql);

    void Bind(int position, std::string_view text) override;
    void Bind(int position, std::int64_t number) override;
    void BindBlob(int position, std::string_view bytes) override;
    bool Step() override;
    int Run() override;
    void RunLater() override;
    void Again() override;
    void Reset() noexcept override;
    [[nodiscard]] std::string_view View(int column) const override;
    [[nodiscard]] std::int64_t Number(int column) const override;

private:
    std::string& Value(int position, unsigned type, bool isBinary);
    void RunOnce();
    void PointAtValues();
    /// The next rows of a statement by parts; false when there are none.
    bool Fetch();

    PostgresConnection& connection_;
    std::string name_;
    std::string sql_;
    bool isByParts_;
    std::uint64_t preparedFor_ = 0;
    PostgresConnection::Parameters parameters_;
    std::vector<std::string> values_;
    PostgresResult result_;
    int row_ = -1;
    bool isRun_ = false;
    int nextPart_ = 0;
    /// What a column holds in another form than it came; for the row at hand.
    mutable std::vector<std::string> decoded_;
};

}  // namespace Nexar
