#include "CommandRegistry.h"

#include <algorithm>
#include <string>

namespace orva::tool {

namespace {

std::vector<CommandRow>& rows() {
    static std::vector<CommandRow> table;
    return table;
}

}  // namespace

CommandRegistration::CommandRegistration(const CommandRow& row) {
    std::vector<CommandRow>& table = rows();
    const auto at = std::lower_bound(table.begin(), table.end(), row, [](const CommandRow& a, const CommandRow& b) {
        return std::string(a.name) < b.name;
    });
    table.insert(at, row);
}

const std::vector<CommandRow>& commandRows() { return rows(); }

}  // namespace orva::tool
