#include "QtFilePanels.h"

#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace tk {

namespace {

std::optional<QString> run(QFileDialog& dialog)
{
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

} // namespace

// No folder is set: the panel opens where the toolkit puts it (the last one used).
std::optional<QString> QtFilePanels::chooseSaveLocation(const QString& proposedName)
{
    QFileDialog dialog;
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.selectFile(proposedName);
    return run(dialog);
}

std::optional<QString> QtFilePanels::chooseFileToOpen()
{
    QFileDialog dialog(nullptr, QString(), QDir::homePath());
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return run(dialog);
}

bool QtFilePanels::warnBeforeSaving(const QString& message, const QString& proceed,
                                    const QString& cancel)
{
    QMessageBox box(QMessageBox::Warning, QString(), message);
    QPushButton* goOn = box.addButton(proceed, QMessageBox::AcceptRole);
    box.setDefaultButton(box.addButton(cancel, QMessageBox::RejectRole));
    box.exec();
    return box.clickedButton() == goOn;
}

} // namespace tk
