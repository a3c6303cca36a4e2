#include "scenes/list_changes.h"

#include <algorithm>
#include <utility>

namespace {

GridRow rowHolding(const Scene &scene, int number)
{
    GridRow row{QString::number(number), std::make_unique<QString[]>(sceneFields.size())};
    std::size_t column = 0;
    for (const auto field : sceneFields)
        row.texts[column++] = scene.*field;
    return row;
}

std::size_t byteCountOf(const GridRow &row)
{
    return byteCount(row, sceneColumnCount - 1);
}

/// Exchanges a row that stays in its place.
class RowChange final : public ListChange {
public:
    RowChange(int row, GridRow content) : m_row(row), m_other(std::move(content)) {}

    void apply(GridCells &list) override { list.exchangeRow(m_row, m_other); }
    void revert(GridCells &list) override { list.exchangeRow(m_row, m_other); }
    [[nodiscard]] std::size_t byteCount() const override { return byteCountOf(m_other); }

private:
    int m_row;
    GridRow m_other;
};

class Appending final : public ListChange {
public:
    explicit Appending(GridRow content) : m_content(std::move(content)) {}

    void apply(GridCells &list) override { list.putRowBack(list.RowCount(), std::move(m_content)); }
    void revert(GridCells &list) override { m_content = list.takeRow(list.RowCount() - 1); }
    [[nodiscard]] std::size_t byteCount() const override { return byteCountOf(m_content); }

private:
    GridRow m_content;
};

class Removal final : public ListChange {
public:
    explicit Removal(int row) : m_row(row) {}

    void apply(GridCells &list) override { m_taken = list.takeRow(m_row); }
    void revert(GridCells &list) override { list.putRowBack(m_row, std::move(m_taken)); }
    [[nodiscard]] std::size_t byteCount() const override { return byteCountOf(m_taken); }

private:
    int m_row;
    GridRow m_taken;
};

class Replacement final : public ListChange {
public:
    explicit Replacement(GridCells rows) : m_other(std::move(rows)) {}

    void apply(GridCells &list) override { list.exchangeDataRows(m_other); }
    void revert(GridCells &list) override { list.exchangeDataRows(m_other); }
    [[nodiscard]] std::size_t byteCount() const override { return m_other.byteCount(); }

private:
    GridCells m_other;
};

class Sorting final : public ListChange {
public:
    explicit Sorting(std::vector<int> order) : m_order(std::move(order)) {}

    void apply(GridCells &list) override { list.arrangeRows(m_order); }

    void revert(GridCells &list) override
    {
        std::vector<int> back(m_order.size());
        for (std::size_t i = 0; i < m_order.size(); ++i)
            back[static_cast<std::size_t>(m_order[i] - 1)] = static_cast<int>(i) + 1;
        list.arrangeRows(back);
    }

    [[nodiscard]] std::size_t byteCount() const override { return m_order.size() * sizeof(int); }

    [[nodiscard]] int rowAfter(int row) const override
    {
        return static_cast<int>(std::find(m_order.begin(), m_order.end(), row) - m_order.begin()) + 1;
    }

private:
    std::vector<int> m_order;
};

} // namespace

std::unique_ptr<ListChange> additionOf(const GridCells &list, const Scene &scene)
{
    if (listIsEmpty(list))
        return std::make_unique<RowChange>(1, rowHolding(scene, 1));
    return std::make_unique<Appending>(rowHolding(scene, list.RowCount()));
}

std::unique_ptr<ListChange> rewriteOf(const GridCells &list, int row, const Scene &scene)
{
    GridRow content = rowHolding(scene, row);
    if (list.cell(NumberColumn, row) == content.number && sceneAt(list, row) == scene)
        return nullptr;
    return std::make_unique<RowChange>(row, std::move(content));
}

std::unique_ptr<ListChange> removalOf(const GridCells &list, int row)
{
    if (list.RowCount() > GridCells::fewestRows)
        return std::make_unique<Removal>(row);
    return replacementOf(list, GridCells(list.ColCount()));
}

std::unique_ptr<ListChange> replacementOf(const GridCells &list, GridCells rows)
{
    if (listIsEmpty(list) && listIsEmpty(rows))
        return nullptr;
    return std::make_unique<Replacement>(std::move(rows));
}

std::unique_ptr<ListChange> sortingOf(const GridCells &list)
{
    std::vector<int> order = orderByPosition(list);
    if (std::is_sorted(order.begin(), order.end()))
        return nullptr;
    return std::make_unique<Sorting>(std::move(order));
}
