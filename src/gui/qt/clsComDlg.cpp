#include "clsComDlg.h"

#include "platform/clsPath.h"

#include <QDir>
#include <QFileDialog>
#include <QStringList>

namespace tessaron::gui {

namespace {

FileDialogHandler& Handler() {
    static FileDialogHandler handler;
    return handler;
}

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

// Qt takes the patterns from the parentheses of each entry. "*.*" means every file,
// which where names need no dot (POSIX) is "*": there the entry shows that pattern.
QStringList NameFilters(const std::vector<FileFilter>& filters) {
    QStringList list;
    for (const FileFilter& f : filters) {
        QString pattern = Q(f.Pattern);
        if (pattern == "*.*" && NativePathStyle() == PathStyle::Posix) {
            pattern = "*";
        }
        QString text = Q(f.Text);
        const qsizetype open = text.lastIndexOf('(');
        if (open > 0 && text.endsWith(')')) {
            text = text.left(open).trimmed();
        }
        list << text + " (" + pattern + ")";
    }
    return list;
}

QString StartPath(const clsComDlg& dlg) {
    QDir dir(dlg.InitDir.empty() ? QDir::homePath() : Q(dlg.InitDir));
    return dlg.InitFile.empty() ? dir.path() : dir.filePath(Q(dlg.InitFile));
}

std::string RunFileDialog(const clsComDlg& dlg, QFileDialog::AcceptMode mode) {
    QFileDialog box(dlg.Owner, Q(dlg.Title), StartPath(dlg));
    box.setAcceptMode(mode);
    box.setFileMode(mode == QFileDialog::AcceptSave ? QFileDialog::AnyFile
                                                    : QFileDialog::ExistingFile);
    const QStringList filters = NameFilters(dlg.Filter);
    box.setNameFilters(filters);
    if (dlg.FilterIndex >= 1 && dlg.FilterIndex <= filters.size()) {
        box.selectNameFilter(filters[dlg.FilterIndex - 1]);
    }
    box.setDefaultSuffix(Q(dlg.DefaultExtension));
    if (box.exec() != QDialog::Accepted || box.selectedFiles().isEmpty()) {
        return "";
    }
    return QDir::toNativeSeparators(box.selectedFiles().first()).toStdString();
}

} // namespace

std::string clsComDlg::GetFile() {
    if (Handler()) {
        return Handler()(FileDialogKind::Open, *this);
    }
    return RunFileDialog(*this, QFileDialog::AcceptOpen);
}

std::string clsComDlg::SaveFile() {
    if (Handler()) {
        return Handler()(FileDialogKind::Save, *this);
    }
    return RunFileDialog(*this, QFileDialog::AcceptSave);
}

std::string clsComDlg::GetDirectory() {
    if (Handler()) {
        return Handler()(FileDialogKind::Directory, *this);
    }
    const QString dir = QFileDialog::getExistingDirectory(Owner, Q(Title), Q(InitDir));
    return QDir::toNativeSeparators(dir).toStdString();
}

FileDialogHandler SetFileDialogHandler(FileDialogHandler handler) {
    FileDialogHandler old = std::move(Handler());
    Handler() = std::move(handler);
    return old;
}

} // namespace tessaron::gui
