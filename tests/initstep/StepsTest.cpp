#include "catalogue/ApplicationRecord.h"
#include "initstep/InitStepChain.h"
#include "initstep/InitStepFile.h"
#include "support/DataTable.h"
#include "support/FakeSupervision.h"
#include "support/RootDir.h"

#include <QTimer>

#include <ctime>
#include <limits>

namespace {

const QString manager = "ApplicationManager"_s;

/// "A<B,C D" and so on: records with their dependencies.
std::vector<ApplicationRecord> recordsOf(const QString &modules)
{
    std::vector<ApplicationRecord> records;
    const QStringList words = modules.split(u' ', Qt::SkipEmptyParts);
    for (const QString &word : words) {
        ApplicationRecord record;
        record.setName(word.section(u'<', 0, 0));
        if (word.contains(u'<')) {
            record.setDependencies(word.section(u'<', 1).split(u','));
        }
        records.push_back(record);
    }
    return records;
}

/// A ladder: both modules of a rung depend on both of the rung below, 2^rungs ways from top to bottom.
QString ladder(int rungs)
{
    QString modules = "L0 R0"_s;
    for (int rung = 1; rung < rungs; ++rung) {
        modules += " L%1<L%2,R%2 R%1<L%2,R%2"_s.arg(rung).arg(rung - 1);
    }
    return modules;
}

void setStates(const InitStep &step, ModuleState state)
{
    for (const auto &entry : step.nodes) {
        entry.second->setState(state);
    }
}

/// A step of these modules.
class OneStep : public FakeSupervision
{
public:
    explicit OneStep(const QString &modules)
        : records(recordsOf(modules))
    {
        for (ApplicationRecord &record : records) {
            step.insertApplication(&record);
        }
        isBuilt = step.buildTree(moduleContext());
    }

    std::vector<ApplicationRecord> records;
    InitStep step{"s"_s, 1, true};
    bool isBuilt = false;
};

} // namespace

class StepsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_root.keepLog(); }
    void chain_data()
    {
        columns<QByteArray, QString, QString, QString>("elements", "chain", "stops", "line"); // in this order
        const auto steps = [](const char *text) {
            QByteArray xml;
            for (const QByteArray &step : QByteArray(text).split(' ')) {
                QByteArrayList words = step.split(','); // "NAME=VALUE", and other attributes
                const QByteArrayList first = words.takeFirst().split('=');
                xml += "<step name='" + first[0] + "' value='" + first[1] + "' " + words.join(' ') + "/>";
            }
            return xml;
        };
        row("low", steps("a=1 b=2 c=3"), "a=1 b=2 c=3 default=5", "default c b a", "");
        row("high", steps("a=10 b=20"), "a=10 b=20 default=21", "default b a", "");
        row("one", steps("a=1"), "a=1 default=5", "default a", "");
        row("none", QByteArray(), "default=5", "default", "");
        row("one at the default's place", steps("a=5"), "a=5", "a", "Two steps with same value [5]");
        row("the last one there", steps("a=1 b=5"), "a=1 b=5 default=6", "default b a", "");
        row("own default", steps("default=3 b=4"), "default=3 b=4", "b default", "");
        row("own default refused", steps("a=1 b=6 default=6"), "a=1 b=6 default=7", "default b a",
            "Two steps with same value [6]");
        row("between", steps("a=1 b=9 c=4"), "a=1 c=4 b=9 default=10", "default b c", "");
        row("between, and then out of reach", steps("a=1 b=9 c=5 d=3"), "a=1 c=5 b=9 default=10", "default b c d", "");
        row("below the head", steps("b=5 a=1"), "a=1 b=5", "a", "Two steps with same value [5]");
        row("below the head of two, then on", steps("b=5 c=7 a=1 d=9"), "a=1 d=9 default=10", "default d a", "");
        row("same name", steps("a=1 a=2"), "a=1 default=5", "default a", "Two steps with same name [a]");
        row("no number", steps("a=x b=1"), "a=0 b=1 default=5", "default b a", "");
        row("incomplete", QByteArray("<step name='a'/><step value='1'/><stop name='b' value='2'/>"), "default=5",
            "default", "");
        row("greatest", steps("a=1 b=2147483647"), "a=1 b=2147483647", "b a", "Two steps with same value [2147483647]");
        row("home", steps("a=1,show_homepage='True' b=2,show_homepage='true'"), "a=1 b=2! default=5", "default b a",
            "");
        row("parallel", steps("a=1,parallel='True' b=2,parallel='true'"), "a=1 b=2| default=5", "default b a", "");
        row("default", " parallel='true'>" + steps("a=1 b=2,parallel=''"), "a=1| b=2 default=5|", "default b a", "");
    }

    void chain()
    {
        const auto [elements, chain, stops, line] = cells<QByteArray, QString, QString, QString>();
        m_root.write("/etc/JovApplication/module/ApplicationManager/initStep.xml"_s,
                     (elements.startsWith(' ') ? "<initStep" : "<initStep>") + elements + "</initStep>");
        InitStepChain steps;
        QVERIFY(parseInitStep(steps, manager));
        QStringList found;
        QSet<int> values;
        for (const InitStep *step = steps.firstStep; step; step = step->getNext()) {
            found << "%1=%2%3%4"_s.arg(step->getName())
                         .arg(step->getValue())
                         .arg(step->getShowHomepage() ? "!"_s : QString(), step->isParallel() ? "|"_s : QString());
            values << step->getValue();
        }
        QCOMPARE(found.join(u' '), chain);
        QStringList stopped;
        for (const InitStep *step = steps.last(); step; step = step->getPrev()) {
            stopped << step->getName();
        }
        QCOMPARE(stopped.join(u' '), stops);
        // What the links do not reach is not found.
        for (int value = 0; value < 25; ++value) {
            const InitStep *step = steps.getStepByValue(value);
            QCOMPARE(!step, !values.contains(value));
            QVERIFY(!step || steps.getStepByName(step->getName()) == step);
        }
        QCOMPARE(m_root.log().filter("warning"_s).filter(line).size(), line.isEmpty() ? 0 : 1);
        QVERIFY(parseInitStep(steps, manager));
        QCOMPARE(m_root.log().filter("warning"_s).size(), line.isEmpty() ? 0 : 2);
    }

    void forest_data()
    {
        columns<QString, QString, QString, QString>("modules", "roots", "sons", "line");
        row("none", "", "", "", "building s tree modules OK");
        row("independent", "B A", "A B", "", "[InitStep] Branch ok : B");
        row("chain", "A<B B<C C", "C", "B:A C:B", "[InitStep] Branch ok : A;B;C");
        row("order of the dependencies", "A<C,B B C", "C B", "B:A C:A", "[InitStep] Branch ok : A;C");
        row("diamond", "A<B,C B<D C<D D", "D", "B:A C:A D:B,C", "[InitStep] Branch ok : A;C;D");
        row("twice the same", "A<B,B B", "B", "B:A", "[InitStep] Branch ok : A;B");
        row("missing", "A<X", "-", "", "[InitStep] Module 'A' dependency failed with 'X'");
        row("missing, deeper", "A<B B<C,X C", "-", "", "[InitStep] Module 'B' dependency failed with 'X'");
        row("missing and a cycle", "A<B,X B<A", "-", "", "[InitStep] Module cyclic dependencies : A;B;A");
        row("of itself", "A<A", "-", "", "[InitStep] Module cyclic dependencies : A;A");
        row("cycle below", "A<B B<C C<B", "-", "", "[InitStep] Module cyclic dependencies : A;B;C;B");
        row("empty name", "A<", "-", "", "[InitStep] Module 'A' dependency failed with ''");
    }

    void forest()
    {
        const auto [modules, roots, sons, line] = cells<QString, QString, QString, QString>();
        OneStep one(modules);
        const InitStep &step = one.step;
        QVERIFY(!m_root.log().filter(line).isEmpty());
        QCOMPARE(one.isBuilt, roots != "-"_s);
        if (!one.isBuilt) {
            return;
        }
        QStringList foundRoots;
        for (const Module *root : qAsConst(step.roots)) {
            foundRoots << root->getName();
        }
        QStringList foundSons;
        for (const auto &[name, node] : step.nodes) {
            const Application::Map below = node->getSons();
            QCOMPARE(step.canStart(*node), node->getParents().isEmpty());
            QCOMPARE(m_root.log().filter("Cannot be started: %1 because of "_s.arg(name)).size(),
                     node->getParents().size());
            if (!below.isEmpty()) {
                foundSons << name + u':' + QStringList(below.keys()).join(u',');
            }
            for (const Application *son : below) {
                QVERIFY(son->getParents().value(name) == node.get());
            }
        }
        QCOMPARE(foundRoots.join(u' '), roots);
        QCOMPARE(foundSons.join(u' '), sons);
        QCOMPARE(step.nodes.size(), one.records.size());
    }

    // Built and walked at once, though there are more branches than anybody could walk.
    void ladderIsQuick()
    {
        const std::clock_t before = std::clock();
        OneStep one(ladder(32));
        QVERIFY(one.isBuilt);
        setStates(one.step, ModuleState::Running);
        QCOMPARE(one.step.startAll(one.startContext), std::numeric_limits<int>::max());
        setStates(one.step, ModuleState::Stopping);
        QCOMPARE(one.step.stopAll(false), 0);
        QCOMPARE(one.step.nodes.begin()->second->getState(), ModuleState::Stopped);
        QVERIFY(std::clock() - before < 30 * CLOCKS_PER_SEC);
    }

    void counts_data()
    {
        columns<QString, QString, int, int>("modules", "running", "count", "warnings");
        row("none runs", "A B<A C<A,B D<C", "", 9, 0);
        row("all run", "A B<A C<A,B D<C", "A B C D", 5, 0);
        row("a parent that never runs: each visit warns", "A X<A,M", "A", 3, 2);
        row("the same below a diamond", "A B<A C<A D<B,C,M", "A B C", 6, 3);
    }

    // A start counts and warns once for each visit. M has no program.
    void counts()
    {
        const auto [modules, running] = cells<QString, QString>();
        OneStep one(modules + (modules.contains(u'M') ? " M"_s : QString()));
        QVERIFY(one.isBuilt);
        for (const char *name : {"A", "B", "C", "D", "X"}) {
            m_root.writeScript("/usr/lib/JovApplication/"_s + QLatin1String(name), "exec sleep 1000");
        }
        for (const QString &name : running.split(u' ', Qt::SkipEmptyParts)) {
            one.step.nodes[name]->setState(ModuleState::Running);
        }
        one.bus.onEvent = [&](const QString &) {
            Module *starting = one.step.nodes[one.bus.events.last().section(u' ', -1)].get();
            QTimer::singleShot(0, starting, &Module::slot_endOfInit);
        };
        QTEST(one.step.startAll(one.startContext), "count");
        QTEST(m_root.log().filter("Cannot be started: "_s).size(), "warnings");
        const QStringList notes = one.observer.notes.filter(QRegularExpression("page|step|done"_s));
        QCOMPARE(notes, (QStringList{"home page starts"_s, "step s"_s, "home page started"_s, "done s 1"_s}));
        QCOMPARE(m_root.log().filter("info [InitStep] step s started in "_s).size(), 1);
    }

    void emptyEntries()
    {
        OneStep none({});
        QVERIFY(!none.step.startApplication("nobody"_s) && !none.step.stopApplication("nobody"_s, true));
        none.state.failStart();
        QCOMPARE(none.step.startAll(none.startContext) + none.step.stopAll(true), 0);
        QCOMPARE(none.observer.notes, (QStringList{"home page starts"_s, "step s"_s}));
    }

private:
    RootDir m_root;
};

QTEST_GUILESS_MAIN(StepsTest)

#include "StepsTest.moc"
