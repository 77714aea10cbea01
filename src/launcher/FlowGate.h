#pragma once

#include <QObject>
#include <QTimer>

/// Knows whether a flow operation is on the stack, and keeps a click that comes meanwhile. Nested
/// event loops deliver clicks while a flow is already under way; the click's slot must be able to
/// tell.
class FlowGate : public QObject
{
    Q_OBJECT

public:
    /// Stands for one flow operation for as long as it is on the stack.
    class Guard
    {
    public:
        explicit Guard(FlowGate& gate)
            : m_gate(gate)
        {
            ++m_gate.m_depth;
        }
        ~Guard()
        {
            if (--m_gate.m_depth == 0)
                m_gate.serveClick();
        }
        Q_DISABLE_COPY_MOVE(Guard)

    private:
        FlowGate& m_gate;
    };

    explicit FlowGate(QObject* parent = nullptr);

    [[nodiscard]] bool isRunning() const { return m_depth > 0; }

    /// Keeps a click until the outermost operation has ended, but for ten seconds at most.
    void holdClick();
    void forgetClick();
    [[nodiscard]] bool holdsClick() const { return m_clickTimer.isActive(); }

Q_SIGNALS:
    /// A click may be held now, or no longer.
    void clickHeldChanged();
    /// A click was held when the outermost operation ended.
    void clickDue();

private:
    void serveClick();

    // How many flow operations are on the stack.
    int m_depth = 0;
    QTimer m_clickTimer{this};
};
