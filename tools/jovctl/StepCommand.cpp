#include "client/BusClient.h"
#include "client/Console.h"
#include "client/Failure.h"
#include "contract/Events.h"
#include "contract/InspectionNames.h"
#include "contract/Steps.h"
#include "jovctl/Command.h"

ExitStatus Commands::step(const Arguments &arguments)
{
    bool isNumber = false;
    const QString word = arguments.operands().first();
    const int number = word.toInt(&isNumber);
    if (!isNumber || number < 0) {
        throw Failure(ExitStatus::Usage,
                      QStringLiteral("\"%1\" is not the number of a step").arg(Console::printable(word)));
    }
    const BusClient client(BusClient::Purpose::Control);
    const int reached = client.property(Inspect::currentStep);
    if (reached >= Steps::firstOwn) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the daemon no longer listens: the start-up has reached step %1, and from step %2 "
                                     "on it continues by itself")
                          .arg(reached)
                          .arg(Steps::firstOwn));
    }
    if (client.property(Inspect::startFailed)) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the daemon no longer listens: the start-up failed, or all modules were stopped"));
    }
    if (number <= reached) {
        Console::writeLine(QStringLiteral("the start-up has already reached step %1").arg(reached));
        return ExitStatus::Done;
    }
    client.sendEvent(Events::initStep, {{Events::stepNum, number}});
    Console::writeLine(QStringLiteral("asked the daemon to continue from step %1 to step %2").arg(reached).arg(number));
    return ExitStatus::Done;
}
