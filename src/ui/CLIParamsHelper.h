#pragma once
#include <QWidget>

class BrondelCore;
class QCheckBox;
class QGridLayout;
class QLineEdit;
class QPlainTextEdit;
class QVBoxLayout;

// Shows the BrondelCLI command that makes the same maps as the window with its current settings, for
// artists who want to put the work into a build pipeline.
class CLIParamsHelper : public QWidget
{
    Q_OBJECT

public:
    explicit CLIParamsHelper(QWidget* parent = nullptr);

    void SetCore(BrondelCore* brondelCore) { core = brondelCore; }
    // Fills the five parameter boxes from the core, and the command with them.
    void Refresh();
    void RefreshSaveParams();
    QString GetFinalCommand() const;

private slots:
    void on_saveNormalCheck_clicked();
    void on_saveDepthCheck_clicked();
    void on_saveNormalDepthCheck_clicked();
    void on_saveNormalOpacityCheck_clicked();
    void on_saveAoCheck_clicked();
    void on_savePaletteCheck_clicked();
    void on_saveIndexCheck_clicked();
    void on_saveAnisotropyCheck_clicked();

private:
    QLineEdit* AddParameterBox(const QString& label, const char* name);
    QCheckBox* AddSaveCheck(const QString& label, const char* name);

    BrondelCore* core = nullptr;
    QLineEdit* normalParameters;
    QLineEdit* depthParameters;
    QLineEdit* aoParameters;
    QLineEdit* paletteParameters;
    QLineEdit* anisotropyParameters;
    QCheckBox* saveNormalCheck;
    QCheckBox* saveDepthCheck;
    QCheckBox* saveNormalDepthCheck;
    QCheckBox* saveNormalOpacityCheck;
    QCheckBox* saveAoCheck;
    QCheckBox* savePaletteCheck;
    QCheckBox* saveIndexCheck;
    QCheckBox* saveAnisotropyCheck;
    QPlainTextEdit* finalCommand;
    QVBoxLayout* layout;
    QGridLayout* saveLayout;
};
