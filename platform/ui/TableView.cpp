#include "platform/ui/TableView.h"

#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/image/Image.h"
#include "platform/ui/CellDelegate.h"
#include "platform/ui/FileDragging.h"
#include "platform/ui/Font.h"
#include "platform/ui/Theme.h"

#include <QAbstractTableModel>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QIcon>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <limits>
#include <vector>

namespace platform {

namespace {

constexpr int kRowHeight = 30;
constexpr int kHeaderHeight = 29;
constexpr double kCornerRadius = 8.0;
constexpr int kMarkSide = 16;          // points
constexpr int kLeastColumnWidth = 72;  // points
constexpr int kWidestColumn = 10'000;  // points; what is stored beyond it is none

}  // namespace

class TableView::Model : public QAbstractTableModel {
  public:
    explicit Model(TableView* table) : QAbstractTableModel(table), table_(table) {}

    void setSource(TableViewDataSource* source) { source_ = source; }
    TableViewDataSource* source() const { return source_; }

    void setTableColumns(std::vector<TableColumn> columns) {
        beginResetModel();
        columns_ = std::move(columns);
        endResetModel();
    }
    const std::vector<TableColumn>& tableColumns() const { return columns_; }

    void reload() {
        beginResetModel();
        const std::int64_t rows = source_ ? source_->numberOfRowsInTableView(table_) : 0;
        rows_ =
            static_cast<int>(std::clamp<std::int64_t>(rows, 0, std::numeric_limits<int>::max()));
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : rows_;
    }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(columns_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (!source_ || index.row() >= rows_) return {};
        switch (role) {
            case Qt::DisplayRole:
                return text(columns_[static_cast<size_t>(index.column())], index.row());
            case Qt::ToolTipRole:
                if (table_->toolTipColumn_.isEmpty()) return {};
                return text(TableColumn(table_->toolTipColumn_), index.row());
            case Qt::DecorationRole:
                if (index.column() != 0 || !table_->isMarked_) return {};
                return table_->isMarked_(index.row()) ? QVariant(mark()) : QVariant();
            default:
                return {};
        }
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        // Rows show no header, but a screen reader finds one and reads its number.
        if (orientation == Qt::Vertical) return role == Qt::DisplayRole ? section + 1 : QVariant();
        if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
        if (role == Qt::DisplayRole) return columns_[static_cast<size_t>(section)].title();
        // Else each title would be measured, in a face that nothing is written in.
        if (role == Qt::SizeHintRole) return QSize(0, kHeaderHeight);
        return {};
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        return QAbstractTableModel::flags(index) | Qt::ItemIsDragEnabled;
    }
    QMimeData* mimeData(const QModelIndexList& indexes) const override {
        if (!source_ || indexes.isEmpty()) return nullptr;
        const TableColumn column(table_->fileColumn());
        return mimeDataWithPath(source_->tableViewObjectValueForTableColumnRow(
                                    table_, column, indexes.first().row()))
            .release();
    }

  private:
    QString text(const TableColumn& column, int row) const {
        return displayString(source_->tableViewObjectValueForTableColumnRow(table_, column, row));
    }

    QIcon mark() const {
        const double scale = table_->devicePixelRatioF();
        const QSizeF size(kMarkSide, kMarkSide);
        QPixmap pixmap((size * scale).toSize());
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        Image::imageNamed(table_->markImageName_).drawInRect(painter, {QPointF(), size});
        QIcon icon(pixmap);
        // Accent on the accent of a selection would hardly be seen.
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(QRectF(QPointF(), size), table_->palette().highlightedText());
        icon.addPixmap(pixmap, QIcon::Selected);
        return icon;
    }

    TableView* table_;
    TableViewDataSource* source_ = nullptr;
    std::vector<TableColumn> columns_;
    int rows_ = 0;
};

TableView::TableView(QWidget* parent) : QTableView(parent), model_(new Model(this)) {
    setModel(model_);
    setItemDelegate(new CellDelegate(this));
    setFont(systemFontOfSize(13.0));
    setIconSize({kMarkSide, kMarkSide});
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setFrameShape(QFrame::NoFrame);
    setCornerButtonEnabled(false);
    // Rows of one fixed height: no row needs to be built to know where another stands.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(kRowHeight);
    verticalHeader()->hide();
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setMinimumSectionSize(kLeastColumnWidth);
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this,
            [this] { isScrolledByHand_ = true; });
}

TableView::~TableView() = default;

void TableView::setDataSource(TableViewDataSource* dataSource) {
    model_->setSource(dataSource);
    reloadData();
}

TableViewDataSource* TableView::dataSource() const {
    return model_->source();
}

void TableView::setColumns(const QStringList& columns) {
    columns_ = columns;
    std::vector<TableColumn> parsed;
    for (const QString& column : columns) {
        const QStringList parts = column.split(QLatin1Char(':'));
        parsed.emplace_back(parts.value(0), parts.value(1), parts.value(2).toInt());
    }
    columnWidths_.clear();
    for (const TableColumn& column : parsed)
        columnWidths_.push_back(column.width());
    model_->setTableColumns(std::move(parsed));
    fitColumns();
}

void TableView::setFileColumn(const QString& identifier) {
    fileColumn_ = identifier;
    setDragEnabled(!identifier.isEmpty());
}

void TableView::setAutosaveName(const QString& name) {
    autosaveName_ = name;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    if (const auto stored = defaults.valueOfTypeForKey<QString>(name)) {
        const QStringList widths = stored->split(QLatin1Char(' '));
        for (size_t i = 0; i < std::min(columnWidths_.size(), size_t(widths.size())); ++i) {
            const int width = widths[qsizetype(i)].toInt();
            if (width > 0 && width < kWidestColumn) columnWidths_[i] = width;
        }
        fitColumns();
    }
    connect(horizontalHeader(), &QHeaderView::sectionResized, this, &TableView::columnResized);
}

void TableView::columnResized(int column, int, int width) {
    // Only the user's own hand counts, not the stretching of the last column.
    if (!(QGuiApplication::mouseButtons() & Qt::LeftButton) || isFitting_) return;
    columnWidths_[static_cast<size_t>(column)] = width;
    fitColumns();
    QStringList widths;
    for (int i = 0; i < model_->columnCount(); ++i)
        widths << QString::number(columnWidth(i));
    UserDefaults::standardUserDefaults().setValueForKey(widths.join(QLatin1Char(' ')),
                                                        autosaveName_);
}

void TableView::fitColumns() {
    isFitting_ = true;
    int room = viewport()->width();
    const auto count = static_cast<int>(columnWidths_.size());
    // The last column takes what the others leave, and they leave enough.
    for (int i = 0; i + 1 < count; ++i) {
        const int most = std::max(kLeastColumnWidth, room - kLeastColumnWidth * (count - 1 - i));
        const int wanted = columnWidths_[static_cast<size_t>(i)];
        if (wanted > 0) setColumnWidth(i, std::min(wanted, most));
        room -= columnWidth(i);
    }
    isFitting_ = false;
}

void TableView::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    fitColumns();
}

void TableView::setRowMarker(std::function<bool(std::int64_t)> isMarked) {
    isMarked_ = std::move(isMarked);
    setNeedsDisplay();
}

void TableView::markDidMove() {
    isScrolledByHand_ = false;
    setNeedsDisplay();
}

QModelIndex TableView::markedRow() const {
    int row = isMarked_ ? model_->rowCount() : 0;
    while (row > 0 && !isMarked_(row - 1))
        --row;
    return row > 0 ? model_->index(row - 1, 0) : QModelIndex();
}

void TableView::revealMarkedRow() {
    const QModelIndex marked = markedRow();
    if (!marked.isValid()) return;
    selectRow(marked.row());
    scrollTo(marked, PositionAtCenter);
    isScrolledByHand_ = false;
}

void TableView::showEvent(QShowEvent* event) {
    QTableView::showEvent(event);
    // Not when the whole window comes back.
    if (!event->spontaneous() && !isScrolledByHand_) scrollTo(markedRow(), PositionAtCenter);
}

void TableView::reloadData() {
    const std::int64_t selected = selectedRow();
    const int scrolledTo = verticalScrollBar()->value();
    model_->reload();
    if (selected >= 0 && selected < model_->rowCount()) {
        // Not selectRow, which would scroll to the row.
        const QModelIndex index = model_->index(static_cast<int>(selected), 0);
        selectionModel()->setCurrentIndex(
            index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    verticalScrollBar()->setValue(scrolledTo);
}

std::int64_t TableView::selectedRow() const {
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void TableView::focusInEvent(QFocusEvent* event) {
    QTableView::focusInEvent(event);
    if (!theme::showsFocus(*this)) return;
    ring_ = std::make_unique<FocusRing>(*this, kCornerRadius);
    // Whoever comes by keyboard finds a row to play or to go on from.
    if (selectedRow() < 0) selectRow(0);
}

void TableView::focusOutEvent(QFocusEvent* event) {
    QTableView::focusOutEvent(event);
    ring_.reset();
}

void TableView::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && selectedRow() >= 0) return sendDoubleAction();
    if (event->matches(QKeySequence::Copy)) return copy();
    const int scrolledTo = verticalScrollBar()->value();
    const int rows = model_->rowCount();
    // The toolkit's own go to the ends of a row.
    const bool isHome = event->key() == Qt::Key_Home;
    if ((isHome || event->key() == Qt::Key_End) && rows > 0) {
        const int row = isHome ? 0 : rows - 1;
        selectRow(row);
        scrollTo(model_->index(row, 0));
    } else {
        QTableView::keyPressEvent(event);
    }
    if (verticalScrollBar()->value() != scrolledTo) isScrolledByHand_ = true;
}

void TableView::mouseDoubleClickEvent(QMouseEvent* event) {
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() != Qt::LeftButton || !indexAt(event->pos()).isValid()) return;
    sendAction();
}

void TableView::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const int row = isByKey ? static_cast<int>(selectedRow()) : rowAt(event->y());
    if (!rowMenu_ || row < 0) return;
    selectRow(row);
    const QPoint below(columnViewportPosition(0) + kMarkSide,
                       rowViewportPosition(row) + kRowHeight);
    rowMenu_->popup(isByKey ? viewport()->mapToGlobal(below) : event->globalPos());
}

void TableView::copy() {
    if (selectedRow() < 0) return;
    const QModelIndex index = model_->index(static_cast<int>(selectedRow()), 0);
    QGuiApplication::clipboard()->setText(index.data().toString());
}

void TableView::sendDoubleAction() {
    if (selectedRow() >= 0) sendAction();
}

}  // namespace platform
