#pragma once
// A button that shows a colour and lets the user pick another; the value is
// the document's "RRGGBB" text.
#include <QPushButton>
#include <string>
#include <string_view>

namespace sumora::app {

class ColorButton : public QPushButton {
    Q_OBJECT
  public:
    explicit ColorButton(const QString& hex = QStringLiteral("FF0000"), QWidget* parent = nullptr);

    // "RRGGBB", upper case, without "#".
    std::string hex() const;
    void setHex(std::string_view hex);

  signals:
    void colorChanged();

  private:
    void pick();
    void paintSwatch();

    QColor color_;
};

} // namespace sumora::app
