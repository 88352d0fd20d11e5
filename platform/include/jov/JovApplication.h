#ifndef JOV_APPLICATION_H
#define JOV_APPLICATION_H

#include <QCoreApplication>

class JovModule;

/**
 * The core application of a component's process. Create it first, then the one JovModule, then run exec().
 *
 * A `JovException *` that leaves a slot is caught here, logged as an error and deleted; the loop goes on.
 */
class JovApplication : public QCoreApplication
{
    Q_OBJECT

public:
    JovApplication(int &argc, char **argv);
    ~JovApplication() override;

    [[nodiscard]] static JovApplication *instance();

    /**
     * Drives the life of the component (see JovModule) and returns the process's exit status: 0 after exit(), 1 when an
     * operation returned false, when there is no bus at start, or when the bus name is taken.
     */
    int exec();

    bool notify(QObject *receiver, QEvent *event) override;

private:
    friend class JovModule;

    void setModule(JovModule *module);
    void openBus();
    /// The operations up to the bus name, which init_step() waits for.
    void beginLife();
    /// One operation of the life; false when the life does not go on.
    bool run(const char *name, bool (JovModule::*operation)());
    bool attempt(bool (JovModule::*operation)());
    void fail(const QString &what);
    /// stop() if check() was ever called, then the end of the loop.
    void end();

    JovModule *m_module = nullptr;
    bool m_lifeBegun = false;
};

#endif
