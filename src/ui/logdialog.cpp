#include "ui/logdialog.h"

#include "ui/widgets/filechooser.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QScrollBar>
#include <QTextEdit>
#include <QVariant>
#include <QVBoxLayout>

namespace {

constexpr int smallestWidth = 550;
constexpr int margin = 3;
constexpr qint64 maxShown = 4 << 20; // bytes

QString appProperty(const char* key)
{
    return QCoreApplication::instance()->property(key).toString();
}

QString readTail(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    if (file.size() > maxShown) {
        file.seek(file.size() - maxShown);
        file.readLine();
    }
    return QString::fromUtf8(file.read(maxShown));
}

} // namespace

QString sessionLogPath()
{
    return QStringLiteral("%1/%2.txt").arg(appProperty("logspath"), appProperty("sessionid"));
}

LogDialog::LogDialog(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Logs"));
    setMinimumWidth(smallestWidth);
    auto* text = new QTextEdit(this);
    text->setObjectName(QStringLiteral("logtext"));
    text->setAccessibleName(tr("Log of this session"));
    text->setReadOnly(true);
    text->setLineWrapMode(QTextEdit::NoWrap);
    text->setPlainText(readTail(sessionLogPath()));
    text->moveCursor(QTextCursor::End);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* saveButton = buttons->addButton(tr("Save..."), QDialogButtonBox::ActionRole);
    saveButton->setObjectName(QStringLiteral("logsave"));
    saveButton->setToolTip(tr("Save a copy of the log"));
    connect(saveButton, &QPushButton::clicked, this, &LogDialog::save);
    buttons->button(QDialogButtonBox::Close)->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin);
    layout->addWidget(text);
    layout->addWidget(buttons);
    resize(900, 500);
}

void LogDialog::save()
{
    filechooser::Request request;
    request.title = tr("Save Log");
    request.path = appProperty("sessionid") + QStringLiteral(".txt");
    request.filters = QStringList(tr("Text Log (*.txt)"));
    request.save = true;
    const QString path = filechooser::choose(this, request).path;
    if (path.isEmpty())
        return;
    // The dialog has asked already whether an existing file may go; copy() would not replace it.
    QFile::remove(path);
    QFile log(sessionLogPath());
    if (!log.copy(path))
        messages::critical(this, request.title, tr("The log could not be saved."),
                           QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), log.errorString()));
}
