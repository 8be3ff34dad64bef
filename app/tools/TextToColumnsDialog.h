#pragma once
// Text to columns: the delimiter ("Comma", "Semicolon", "Space", "Pipe" or
// "Custom" with its text), "Treat consecutive delimiters as one", and a
// preview of the first selected cell split as splitText splits it. Splitting
// runs the editor's performTextToColumns over the selection.
#include <QDialog>

#include "app/DocumentContext.h"
#include "editing/SumoraEditorView.h"

class QButtonGroup;
class QCheckBox;
class QLabel;
class QLineEdit;

namespace sumora::app {

class TextToColumnsDialog : public QDialog {
    Q_OBJECT
  public:
    explicit TextToColumnsDialog(DocumentContext& context, QWidget* parent = nullptr);

    void setDelimiter(TextToColumnsDelimiter delimiter);
    QLineEdit* customField() const { return custom_; }
    QCheckBox* consecutiveCheck() const { return consecutive_; }
    QLabel* previewLabel() const { return preview_; }
    void apply();

  private:
    void syncInputs();
    void updatePreview();

    DocumentContext& context_;
    QButtonGroup* delimiters_;
    QLineEdit* custom_;
    QCheckBox* consecutive_;
    QLabel* preview_ = nullptr;
};

} // namespace sumora::app
