#include "app/CellAppearance.h"

#include <QFontMetrics>
#include <variant>

#include "app/FontResolver.h"
#include "document/ColumnLetters.h"
#include "document/HexColor.h"
#include "engine/FormulaValue.h"
#include "values/NumberFormat.h"
#include "values/StrictNumber.h"

namespace sumora::app {

QColor colorFromHex(std::string_view hex) {
    hex = withoutHash(hex);
    if (hex.size() != 6) return {};
    bool ok = false;
    const uint rgb = QString::fromLatin1(hex.data(), static_cast<int>(hex.size())).toUInt(&ok, 16);
    return ok ? QColor::fromRgb(rgb) : QColor();
}

// A General number too wide for its column loses decimals before it turns
// into ###: the widest rounding that fits, without trailing zeros.
QString fitGeneralNumber(double number, const QFontMetrics& metrics, int width) {
    for (int decimals = 9; decimals >= 0; --decimals) {
        QString text = QString::fromStdString(
            formatValue(number, decimals > 0 ? "0." + std::string(static_cast<size_t>(decimals), '0') : "0")
                .text);
        if (text.contains(QLatin1Char('.'))) {
            while (text.endsWith(QLatin1Char('0')))
                text.chop(1);
            if (text.endsWith(QLatin1Char('.'))) text.chop(1);
        }
        if (metrics.horizontalAdvance(text) <= width) return text;
    }
    return {};
}

namespace {

// The link colour of the usual office themes.
const QColor kLinkColor(0x05, 0x63, 0xC1);

Qt::Alignment horizontalAlignment(CellAlignment alignment, bool isNumber) {
    switch (alignment) {
    case CellAlignment::left:
    case CellAlignment::fill:
        return Qt::AlignLeft;
    case CellAlignment::center:
        return Qt::AlignHCenter;
    case CellAlignment::right:
        return Qt::AlignRight;
    case CellAlignment::justify:
        return Qt::AlignJustify;
    case CellAlignment::general:
        break;
    }
    return isNumber ? Qt::AlignRight : Qt::AlignLeft;
}

} // namespace

void CellAppearanceBuilder::setDefaults(const CellRenderDefaults& defaults) {
    if (defaults == defaults_) return;
    defaults_ = defaults;
    fonts_.clear();
}

void CellAppearanceBuilder::beginPaint(const Sheet* sheet) {
    evaluator_.reset();
    evaluatorSheet_ = sheet;
}

ConditionalFormatEvaluator* CellAppearanceBuilder::evaluatorFor(const Sheet& sheet) {
    if (sheet.conditionalFormats.empty()) return nullptr;
    if (!evaluator_ || evaluatorSheet_ != &sheet) {
        evaluator_ = std::make_unique<ConditionalFormatEvaluator>(
            sheet, formulaSource_ ? formulaSource_(sheet) : ConditionalFormulaNumber{});
        evaluatorSheet_ = &sheet;
    }
    return evaluator_.get();
}

const QFont& CellAppearanceBuilder::fontFor(const CellFormat* handle, const CellFormat& format) {
    auto it = fonts_.constFind(handle);
    if (it != fonts_.constEnd()) return *it;
    const QString name = format.fontName ? QString::fromStdString(*format.fontName) : defaults_.fontName;
    const double size = format.fontSize.value_or(defaults_.fontSize) * defaults_.zoom;
    // A file's font is asked for by name; the font system substitutes a
    // missing one (Calibri → Carlito). The settings' default falls back as it did.
    QFont font = format.fontName ? FontResolver::instance().cellFont(name, size)
                                 : FontResolver::instance().font(name, size);
    font.setBold(format.isBold);
    font.setItalic(format.isItalic);
    font.setUnderline(format.isUnderline);
    font.setStrikeOut(format.isStrikethrough);
    return *fonts_.insert(handle, font);
}

QString CellAppearanceBuilder::displayText(const Sheet& sheet, CellPosition at, bool* isNumber,
                                           QColor* formatColor, CellAppearance* fill) {
    const Cell& cell = sheet.cell(at.row, at.col);
    const std::string_view display = cell.displayValue();
    if (isNumber) *isNumber = false;
    if (display.empty()) return {};
    std::string code;
    if (const auto& explicitCode = cell.format().numberFormat)
        code = *explicitCode;
    else if (defaults_.numberFormat != QLatin1String("General"))
        code = defaults_.numberFormat.toStdString();

    FormattedText rendered;
    if (auto number = parseStrictNumber(display)) {
        if (isNumber) *isNumber = true;
        rendered = formatValue(*number, code);
    } else if (code.empty()) {
        return QString::fromUtf8(display.data(), static_cast<qsizetype>(display.size()));
    } else {
        rendered = formatText(display, code);
    }
    if (formatColor && rendered.colorHex) *formatColor = colorFromHex(*rendered.colorHex);
    if (fill && rendered.fill) {
        fill->fillPosition = static_cast<int>(
            QString::fromUtf8(rendered.text.data(), static_cast<qsizetype>(rendered.fill->offset)).size());
        fill->fillText = QString::fromStdString(rendered.fill->character);
    }
    return QString::fromStdString(rendered.text);
}

CellAppearance CellAppearanceBuilder::build(const Sheet& sheet, CellPosition at) {
    CellAppearance a;
    const Cell& cell = sheet.cell(at.row, at.col);
    const CellFormat& format = cell.format();

    QColor formatColor;
    a.text = displayText(sheet, at, &a.isNumber, &formatColor, &a);
    if (a.isNumber) {
        a.number = parseStrictNumber(cell.displayValue()).value_or(0);
        const auto& code = format.numberFormat;
        a.isGeneral =
            code ? (code->empty() || *code == "General") : defaults_.numberFormat == QLatin1String("General");
    }
    a.font = fontFor(cell.formatHandle(), format);
    if (format.fontColor) a.textColor = colorFromHex(*format.fontColor);
    if (!a.textColor.isValid()) a.textColor = Qt::black;
    if (formatColor.isValid()) a.textColor = formatColor;
    if (format.fillColor) a.fill = colorFromHex(*format.fillColor);

    a.alignment = horizontalAlignment(format.alignment, a.isNumber) | Qt::AlignVCenter;
    a.wrap = format.wrapText;
    a.borderTop = format.borderTop;
    a.borderBottom = format.borderBottom;
    a.borderLeft = format.borderLeft;
    a.borderRight = format.borderRight;
    a.thickBottom = format.borderThickBottom;
    a.isSpillResult = cell.isSpillResult();
    if (!sheet.cellComments.empty()) a.hasComment = sheet.cellComments.count(cellAddress(at)) > 0;
    if (!sheet.hyperlinks.empty() && sheet.hyperlinks.count(cellAddress(at)) > 0) {
        a.isLink = true;
        a.font.setUnderline(true);
        if (!format.fontColor && !formatColor.isValid()) a.textColor = kLinkColor;
    }

    if (ConditionalFormatEvaluator* evaluator = evaluatorFor(sheet)) {
        if (auto conditional = evaluator->evaluate(at)) {
            if (conditional->fillColor) a.fill = colorFromHex(*conditional->fillColor);
            if (conditional->fontColor) a.textColor = colorFromHex(*conditional->fontColor);
            if (conditional->isBold) a.font.setBold(*conditional->isBold);
            if (conditional->isItalic) a.font.setItalic(*conditional->isItalic);
        }
        for (const ConditionalFormatRule& rule : sheet.conditionalFormats) {
            const auto bar = dataBarColor(rule.ruleType);
            if (!bar || at.col < rule.startCol || at.col > rule.endCol || at.row < rule.startRow ||
                at.row > rule.endRow)
                continue;
            if (auto fraction = evaluator->dataBarFraction(rule, at)) {
                a.dataBarFraction = *fraction;
                a.dataBarColor = colorFromHex(*bar);
                if (!a.dataBarColor.isValid()) a.dataBarColor = QColor(0x63, 0x8E, 0xC6);
            }
        }
        a.icon = evaluator->icon(at);
        if (a.icon && !a.icon->showValue) a.text.clear();
    }
    return a;
}

} // namespace sumora::app
