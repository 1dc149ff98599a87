#include "platform/ui/Font.h"

#include <QFontDatabase>
#include <QStringList>

namespace platform {

namespace {

struct NamedWeight {
    const char* name;
    QFont::Weight weight;
};

constexpr NamedWeight kWeights[] = {
    {"Thin", QFont::Thin},     {"ExtraLight", QFont::ExtraLight}, {"Light", QFont::Light},
    {"Medium", QFont::Medium}, {"DemiBold", QFont::DemiBold},     {"Bold", QFont::Bold},
};

// Open typefaces with true weights from thin to bold, the closest in proportions first.
const QStringList& standIns() {
    static const QStringList families = {QStringLiteral("Inter"), QStringLiteral("Roboto"),
                                         QStringLiteral("Lato")};
    return families;
}

QFont withPointSize(QFont font, double size) {
    font.setPixelSize(qMax(1, qRound(size)));
    return font;
}

}  // namespace

QFont fontWithNameSize(const QString& name, double size) {
    QString family = name;
    QFont::Weight weight = QFont::Normal;
    for (const NamedWeight& named : kWeights) {
        const QString suffix = QLatin1Char(' ') + QLatin1String(named.name);
        if (!name.endsWith(suffix)) continue;
        family = name.chopped(suffix.size());
        weight = named.weight;
    }
    QFont font(QStringList{family} + standIns());
    font.setWeight(weight);
    return withPointSize(font, size);
}

QFont systemFontOfSize(double size) {
    return withPointSize(QFont(standIns() + QStringList{QStringLiteral("sans-serif")}), size);
}

}  // namespace platform
