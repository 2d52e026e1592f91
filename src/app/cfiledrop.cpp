#include "cfiledrop.h"

#include <QApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QTimer>
#include <QUrl>
#include <QWidget>
#include <algorithm>
#include <utility>

namespace {

QStringList localFiles(const QMimeData& data)
{
    QStringList paths;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) {
            paths.append(url.toLocalFile());
        }
    }
    return paths;
}

} // namespace

cFileDrop::cFileDrop(QWidget* window, std::function<bool(const QString&)> accepts,
                     std::function<void(const QStringList&)> open)
    : QObject(window), mWindow(window), mAccepts(std::move(accepts)), mOpen(std::move(open))
{
    window->setAcceptDrops(true);
    // A text field would take the address of the file as its text.
    qApp->installEventFilter(this);
}

bool cFileDrop::eventFilter(QObject* object, QEvent* event)
{
    const bool drops = event->type() == QEvent::Drop;
    if (!drops && event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove) {
        return false;
    }
    const auto* widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr || widget->window() != mWindow) {
        return false;
    }
    auto* drop = static_cast<QDropEvent*>(event);
    const QStringList paths = localFiles(*drop->mimeData());
    if (!std::any_of(paths.begin(), paths.end(), mAccepts)) {
        return false;
    }
    // Not a move, after which the source would remove the file.
    drop->setDropAction(Qt::CopyAction);
    drop->accept();
    if (drops) {
        QTimer::singleShot(0, this, [this, paths] { mOpen(paths); });
    }
    return true;
}
