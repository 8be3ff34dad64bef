#pragma once
// The format bar: font, size, bold/italic/underline/strikethrough, font and
// fill colours, borders, alignment, wrap, number format presets, decimals,
// merge and clear formatting. Every control calls one formatting command of
// the editor (each registers its own undo step) and reports that it ran.
#include <QToolBar>
#include <optional>

class QAction;
class QComboBox;
class QFontComboBox;
class QToolButton;

namespace sumora {
class SumoraEditorView;
}

namespace sumora::app {

// A number-format preset of the bar: its label, code (absent for General)
// and the built-in id that goes with the code.
struct NumberFormatPreset {
    QString label;
    std::optional<std::string> code;
    int64_t id = 0;
};
const std::vector<NumberFormatPreset>& numberFormatPresets();

class FormatBar : public QToolBar {
    Q_OBJECT
  public:
    explicit FormatBar(SumoraEditorView& editor, QWidget* parent = nullptr);

    // Shows the active cell's formatting in the controls.
    void refresh();

    QFontComboBox* fontBox() const { return font_; }
    QComboBox* sizeBox() const { return size_; }
    QComboBox* numberFormatBox() const { return numberFormat_; }
    QAction* boldAction() const { return bold_; }
    QAction* italicAction() const { return italic_; }
    QAction* underlineAction() const { return underline_; }
    QAction* strikethroughAction() const { return strike_; }
    QAction* wrapAction() const { return wrap_; }
    QAction* mergeAction() const { return merge_; }
    QAction* clearFormattingAction() const { return clear_; }
    QAction* alignLeftAction() const { return alignLeft_; }
    QAction* alignCenterAction() const { return alignCenter_; }
    QAction* alignRightAction() const { return alignRight_; }
    QAction* increaseDecimalAction() const { return moreDecimals_; }
    QAction* decreaseDecimalAction() const { return fewerDecimals_; }

    // Colour commands (also reached from the colour buttons' menus).
    void applyFontColor(std::optional<QString> hex);
    void applyFillColor(std::optional<QString> hex);

  signals:
    // A command changed the cells; `layoutChanged` when merges changed.
    void commandRan(bool layoutChanged);

  private:
    QAction* addCommand(const QString& text, const QString& tip, bool checkable,
                        std::function<void()> command);
    QToolButton* addColorButton(const QString& text, const QString& tip, bool fill);
    QToolButton* addBordersButton();
    void run(const std::function<void()>& command, bool layoutChanged = false);

    SumoraEditorView& editor_;
    QFontComboBox* font_;
    QComboBox* size_;
    QComboBox* numberFormat_;
    QAction *bold_, *italic_, *underline_, *strike_, *wrap_, *merge_, *clear_;
    QAction *alignLeft_, *alignCenter_, *alignRight_, *moreDecimals_, *fewerDecimals_;
    bool refreshing_ = false;
};

} // namespace sumora::app
