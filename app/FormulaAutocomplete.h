#pragma once
// The function-name popup of a formula being typed, for any line edit (the
// cell editor and the formula bar). Suggestions come from the catalogue's
// formulaAutocompleteSuggestions; choosing one replaces the word being typed
// with "NAME(".
#include <QObject>
#include <QPointer>

class QLineEdit;
class QListWidget;

namespace sumora::app {

class FormulaAutocomplete : public QObject {
    Q_OBJECT
  public:
    explicit FormulaAutocomplete(QLineEdit* edit);
    ~FormulaAutocomplete() override;

    bool isPopupVisible() const;
    // The names offered right now, in order.
    QStringList suggestions() const;
    // Replaces the word being typed with the chosen name and "(".
    void accept(const QString& name);
    void hidePopup();

    // The text after completing `text` with `name` (the word after the last
    // operator or separator is replaced).
    static QString completedText(const QString& text, const QString& name);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void update(const QString& text);
    void placePopup();

    QLineEdit* edit_;
    QPointer<QListWidget> popup_;
};

} // namespace sumora::app
