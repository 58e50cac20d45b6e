#include "chain.h"

#include "effects.h"
#include "parameteroptions.h"

#include "ZelImageProcessor.h"
#include "ZelImageProcessorComposer.h"

#include <QStringList>

namespace {

Status stepFailure(int number, const QString& step, const Status& cause)
{
    return Status::failure(ExitUsage,
                           QStringLiteral("--chain step %1 \"%2\": %3").arg(number).arg(step.trimmed(), cause.message));
}

Status createStep(const QString& step, std::unique_ptr<ZelImageProcessor>* effect)
{
    const QStringList parts = step.split(QLatin1Char(':'));
    const QString name = parts.first().trimmed();
    if (name.isEmpty())
        return Status::failure(ExitUsage, QStringLiteral("no effect named"));
    const QMetaObject* meta = nullptr;
    Status status = findEffect(name, &meta);
    if (status.ok())
        status = createEffect(meta, QImage(), effect);
    for (int i = 1; status.ok() && i < parts.size(); ++i)
        status = applySetOption(effect->get(), parts.at(i).trimmed(), false);
    return status;
}

} // namespace

Status appendChain(ZelImageProcessor* composer, const QString& chainText, ChainSteps* steps)
{
    auto* chain = qobject_cast<ZelImageProcessorComposer*>(composer);
    if (!chain) {
        return Status::failure(ExitUsage, QStringLiteral("--chain needs a composer effect (Composer, ExampleComposer), not %1")
                                      .arg(effectShortName(composer->metaObject())));
    }
    if (chainText.trimmed().isEmpty())
        return Status::success();
    const QStringList stepTexts = chainText.split(QLatin1Char(';'));
    for (int i = 0; i < stepTexts.size(); ++i) {
        std::unique_ptr<ZelImageProcessor> effect;
        const Status status = createStep(stepTexts.at(i), &effect);
        if (!status.ok())
            return stepFailure(i + 1, stepTexts.at(i), status);
        chain->addProcessor(effect.get());
        steps->push_back(std::move(effect));
    }
    return Status::success();
}
