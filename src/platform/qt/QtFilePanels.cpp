#include "QtFilePanels.h"

#include <QDir>
#include <QFileDialog>

namespace tk {

namespace {

std::optional<QString> run(QFileDialog& dialog)
{
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

} // namespace

std::optional<QString> QtFilePanels::chooseSaveLocation(const QString& proposedName)
{
    QFileDialog dialog(nullptr, QString(), QDir::home().filePath(proposedName));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    return run(dialog);
}

std::optional<QString> QtFilePanels::chooseFileToOpen()
{
    QFileDialog dialog(nullptr, QString(), QDir::homePath());
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return run(dialog);
}

} // namespace tk
