// SPDX-License-Identifier: MIT
#pragma once

#include <QApplication>
#include <QDeadlineTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <utility>

/// Answers the modal windows that open while it lives, one after the other, as a user would. A window without
/// an answer, one that its answer leaves open, and an answer without a window are failures; none of them
/// hangs the test.
class PreparedAnswers
{
public:
    using Answer = std::function<void(QWidget &)>;

    explicit PreparedAnswers(std::deque<Answer> answers = {}) : m_answers(std::move(answers))
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        m_timer.start(1);
    }

    ~PreparedAnswers() { EXPECT_EQ(m_answers.size(), 0U) << "windows that were expected did not open"; }

    PreparedAnswers(const PreparedAnswers &) = delete;
    PreparedAnswers &operator=(const PreparedAnswers &) = delete;

    void add(Answer answer) { m_answers.push_back(std::move(answer)); }

    /// How many windows have opened so far.
    [[nodiscard]] int windows() const { return m_windows; }

private:
    void look()
    {
        QWidget *window = QApplication::activeModalWidget();
        if (!window || !window->isVisible()) {
            return;
        }
        if (window != m_answered) {
            answer(*window);
        } else if (m_patience.hasExpired()) {
            ADD_FAILURE() << "the answer left \"" << qPrintable(window->windowTitle()) << "\" open";
            window->close();
        }
    }

    void answer(QWidget &window)
    {
        m_answered = &window;
        m_patience.setRemainingTime(10000);
        ++m_windows;
        if (m_answers.empty()) {
            ADD_FAILURE() << "unexpected window \"" << qPrintable(window.windowTitle()) << '"';
            window.close();
            return;
        }
        const Answer next = std::move(m_answers.front());
        m_answers.pop_front();
        next(window);
        if (m_answered && !m_answered->isVisible()) {
            m_answered = nullptr; // the same window may open once more
        }
    }

    std::deque<Answer> m_answers;
    QPointer<QWidget> m_answered;
    QDeadlineTimer m_patience;
    QTimer m_timer;
    int m_windows = 0;
};
