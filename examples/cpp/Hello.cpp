#include <jov/JovApplication.h>
#include <jov/Log.h>
#include <jov/SupervisedModule.h>

/// A module that starts, announces that it is ready, greets its callers, and ends when the supervisor asks it to.
class Hello : public SupervisedModule
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    // The name of the program in /usr/lib/JovApplication/ and of the directory of its config.xml.
    Hello()
        : SupervisedModule(QStringLiteral("hello"))
    { }

public Q_SLOTS:
    /// A method on the bus.
    Q_SCRIPTABLE QString greet(const QString &who)
    {
        Log::info("[hello] %1 was here", who);
        return QStringLiteral("Hello, %1!").arg(who);
    }
};

int main(int argc, char **argv)
{
    JovApplication application(argc, argv);
    Hello hello;
    return application.exec();
}

#include "Hello.moc"
