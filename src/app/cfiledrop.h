#pragma once

#include <QObject>
#include <QStringList>
#include <functional>

class QWidget;

/// Takes the files that are dropped on a window or on anything in it, its text fields included.
class cFileDrop : public QObject
{
public:
    /// The object belongs to @p window. Files are taken if @p accepts one of their paths. @p open gets all
    /// paths after the drop has ended, so it may show a message box.
    cFileDrop(QWidget* window, std::function<bool(const QString&)> accepts,
              std::function<void(const QStringList&)> open);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    QWidget* const mWindow;
    const std::function<bool(const QString&)> mAccepts;
    const std::function<void(const QStringList&)> mOpen;
};
