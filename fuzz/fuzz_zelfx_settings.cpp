// Settings files read by `zelfx --settings`: the input is the file. The effect is the one the
// root's "effect" attribute names, as in the files `zelfx settings` writes, or else one chosen by
// the input's size; the settings read are written out again as zelfx would.

#include "FuzzSupport.h"

#include "effects.h"
#include "parameteroptions.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QTemporaryDir>

#include <memory>

namespace {

const QString& settingsPath()
{
    static QTemporaryDir directory;
    static const QString path = directory.filePath(QStringLiteral("settings.xml"));
    return path;
}

const QMetaObject* effectFor(const QByteArray& bytes)
{
    QDomDocument document;
    if (document.setContent(bytes)) {
        const QString name = document.documentElement().attribute(QStringLiteral("effect"));
        if (const QMetaObject* meta = ZelEffectRegistry::find(name))
            return meta;
    }
    return registeredEffects().at(bytes.size() % registeredEffects().size());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    zelFuzzInitialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    QFile file(settingsPath());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        abort();
    file.close();

    std::unique_ptr<ZelImageProcessor> effect;
    if (!createEffect(effectFor(bytes), QImage(), &effect).ok())
        return 0;
    if (applySettingsFile(effect.get(), settingsPath()).ok()) {
        QString xml;
        settingsDocument(*effect, &xml);
    }
    return 0;
}
