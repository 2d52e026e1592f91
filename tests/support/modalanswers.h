#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QQueue>
#include <QTimer>
#include <QVector>
#include <functional>

/// Answers the modal dialogs that come up during its life, in turn, and keeps what each of them showed.
///
/// A dialog that no answer was prepared for is rejected, so that a test fails instead of hanging.
class ModalAnswers
{
public:
    struct Shown
    {
        QString kind; ///< "message", "file" or the class name of another dialog
        QString title;
        QString text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
        QString directory;
        QStringList nameFilters;
        QWidget* parent = nullptr;
    };

    ModalAnswers()
    {
        QObject::connect(&mTimer, &QTimer::timeout, [this] { answerActive(); });
        mTimer.start(5);
    }

    void chooseFile(const QString& path)
    {
        mAnswers.enqueue([path](QDialog* dialog) {
            if (auto* fileDialog = qobject_cast<QFileDialog*>(dialog)) {
                fileDialog->selectFile(path);
                dialog->done(QDialog::Accepted);
            } else {
                dialog->reject();
            }
        });
    }

    void cancel()
    {
        mAnswers.enqueue([](QDialog* dialog) { dialog->reject(); });
    }

    void pressOk()
    {
        mAnswers.enqueue([](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            QAbstractButton* button = box == nullptr ? nullptr : box->button(QMessageBox::Ok);
            if (button != nullptr) {
                button->click();
            } else {
                dialog->reject();
            }
        });
    }

    const QVector<Shown>& shown() const { return mShown; }

private:
    using Answer = std::function<void(QDialog*)>;

    void answerActive()
    {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            return;
        }
        mShown.append(describe(dialog));
        const Answer answer = mAnswers.isEmpty() ? Answer(&QDialog::reject) : mAnswers.dequeue();
        answer(dialog);
    }

    static Shown describe(const QDialog* dialog)
    {
        Shown shown;
        shown.title = dialog->windowTitle();
        shown.parent = dialog->parentWidget();
        if (const auto* box = qobject_cast<const QMessageBox*>(dialog)) {
            shown.kind = QStringLiteral("message");
            shown.text = box->text();
            shown.icon = box->icon();
            shown.buttons = box->standardButtons();
        } else if (const auto* fileDialog = qobject_cast<const QFileDialog*>(dialog)) {
            shown.kind = QStringLiteral("file");
            shown.directory = fileDialog->directory().path();
            shown.nameFilters = fileDialog->nameFilters();
        } else {
            shown.kind = QLatin1String(dialog->metaObject()->className());
        }
        return shown;
    }

    QTimer mTimer;
    QQueue<Answer> mAnswers;
    QVector<Shown> mShown;
};
