#include "FuzzInput.h"
#include "FuzzRoot.h"
#include "monitoring/ProcParser.h"
#include "system/ProcStat.h"

#include <QList>

#include <cstdlib>

namespace {

// Line by line, without pieces: slow and plain.
qint64 sumOfLines(const QByteArray &text, const QByteArray &field)
{
    qint64 sum = 0;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines) {
        if (field.contains('\n') || !line.startsWith(field + ':')) {
            continue;
        }
        double number = 0;
        bool isInNumber = false;
        for (const char character : line) {
            const bool isDigit = character >= '0' && character <= '9';
            if (isInNumber && !isDigit) {
                break;
            }
            isInNumber = isDigit;
            number = isDigit ? number * 10 + (character - '0') : number;
        }
        sum += number >= double(ProcParser::maxFigure) ? ProcParser::maxFigure : qint64(number);
        sum = std::min(sum, ProcParser::maxFigure);
    }
    return sum;
}

} // namespace

// Texts of /proc: a field's name, where to cut, and the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const QByteArray field = input.text();
    const int step = input.byte() + 1;
    const QByteArray text = input.rest();

    ProcParser::FieldSum atOnce(field);
    atOnce.add(text.constData(), std::size_t(text.size()));
    const qint64 whole = atOnce.total();
    ProcParser::FieldSum pieces(field);
    for (int at = 0; at < text.size(); at += step) {
        pieces.add(text.constData() + at, std::size_t(std::min(step, text.size() - at)));
    }
    require(pieces.total() == whole, "the sum depends on where the text is cut");
    require(whole == sumOfLines(text, field), "the sum is not that of the lines");
    require(whole >= 0 && whole <= ProcParser::maxFigure, "a sum out of range");
    const qint64 memory = ProcParser::meminfoField(text, field);
    require(memory >= 0 && memory <= ProcParser::maxFigure, "a figure of meminfo out of range");
    // The kernel writes the four times with a sign.
    const ProcStat stat = ProcStat::parse(text).value_or(ProcStat());
    require(std::abs(stat.ownTicks + stat.childTicks) <= 4 * ProcParser::maxFigure, "ticks out of range");
    return 0;
}
