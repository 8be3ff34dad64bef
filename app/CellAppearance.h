#pragma once
// How one cell looks on screen: its display text rendered through the cell's
// number format, its colours and font after conditional formats, alignment,
// wrap, borders and marks. The grid's delegate paints from this; the model's
// display role reads its text, so tests see what the user sees.
#include <QColor>
#include <QFont>
#include <QFontMetrics>
#include <QHash>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "document/ConditionalFormatEvaluation.h"
#include "document/Sheet.h"

namespace sumora::app {

struct CellAppearance {
    QString text;
    bool isNumber = false;
    // For numbers: the value, and whether it shows in General (which may
    // drop decimals to fit the column, as spreadsheets do).
    double number = 0;
    bool isGeneral = false;
    // A *x fill of the number format: fillText is repeated at fillPosition
    // of text until the text spans the cell (-1: no fill).
    int fillPosition = -1;
    QString fillText;
    QFont font;
    QColor textColor = Qt::black;
    QColor fill; // invalid: no fill
    Qt::Alignment alignment = Qt::AlignLeft | Qt::AlignVCenter;
    bool wrap = false;
    bool borderTop = false, borderBottom = false, borderLeft = false, borderRight = false;
    bool thickBottom = false;
    bool hasComment = false;
    bool isLink = false; // drawn underlined in the link colour
    bool isSpillResult = false;
    std::optional<double> dataBarFraction; // 0…1 of the cell's width
    QColor dataBarColor;
    std::optional<ConditionalIcon> icon; // drawn at the cell's left edge
};

// What the grid's settings contribute to every cell.
struct CellRenderDefaults {
    QString fontName = QStringLiteral("SF Mono");
    double fontSize = 12.0;
    QString numberFormat = QStringLiteral("General");
    double zoom = 1.0;
    bool operator==(const CellRenderDefaults&) const = default;
};

// Builds appearances for one sheet at a time. Fonts are cached per interned
// cell format; conditional formats are evaluated through one evaluator per
// repaint (beginPaint), so range summaries are computed once per frame.
class CellAppearanceBuilder {
  public:
    void setDefaults(const CellRenderDefaults& defaults);
    // Evaluates the formulas of expression rules and formula thresholds for
    // a sheet of the window's document; without it such rules match nothing.
    using FormulaSource = std::function<ConditionalFormulaNumber(const Sheet&)>;
    void setFormulaSource(FormulaSource source) { formulaSource_ = std::move(source); }
    const CellRenderDefaults& defaults() const { return defaults_; }

    // Starts a repaint of `sheet`: forgets the previous frame's evaluator.
    void beginPaint(const Sheet* sheet);
    CellAppearance build(const Sheet& sheet, CellPosition at);
    // Only the display text (the model's display role), without any fill.
    QString displayText(const Sheet& sheet, CellPosition at, bool* isNumber = nullptr,
                        QColor* formatColor = nullptr, CellAppearance* fill = nullptr);

  private:
    const QFont& fontFor(const CellFormat* handle, const CellFormat& format);
    ConditionalFormatEvaluator* evaluatorFor(const Sheet& sheet);

    CellRenderDefaults defaults_;
    FormulaSource formulaSource_;
    QHash<const CellFormat*, QFont> fonts_;
    const Sheet* evaluatorSheet_ = nullptr;
    std::unique_ptr<ConditionalFormatEvaluator> evaluator_;
};

// A General number too wide for `width` pixels, rounded to the most decimals
// that fit (trailing zeros dropped); empty when not even the integer fits.
QString fitGeneralNumber(double number, const QFontMetrics& metrics, int width);

// "RRGGBB" or "#RRGGBB" to a colour; invalid for anything else.
QColor colorFromHex(std::string_view hex);

} // namespace sumora::app
