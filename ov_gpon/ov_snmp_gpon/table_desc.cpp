#include "table_desc.h"

#include <algorithm>

const ColumnDesc* TableDesc::column(int wanted) const {
    const auto at =
        std::lower_bound(columns.begin(), columns.end(), wanted,
                         [](const ColumnDesc& column, int value) { return column.number < value; });
    return at != columns.end() && at->number == wanted ? &*at : nullptr;
}
