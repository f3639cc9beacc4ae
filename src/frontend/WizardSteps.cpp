#include "frontend/WizardSteps.h"

#include <algorithm>

WizardSteps::WizardSteps(const WizardDraft &draft, QObject *parent)
    : QObject(parent),
      m_draft(draft)
{
}

bool WizardSteps::check(WizardStep step)
{
    // Only the basics can be wrong; the review shows them again.
    m_validationErrors.clear();
    if (step == WizardStep::Basics || step == WizardStep::Review)
        m_validationErrors = m_draft.errors();
    Q_EMIT validationErrorsChanged();
    return m_validationErrors.isEmpty();
}

bool WizardSteps::nextStep()
{
    if (!check(m_currentStep) || m_currentStep == WizardStep::Review)
        return false;
    goToStep(static_cast<WizardStep>(static_cast<int>(m_currentStep) + 1));
    return true;
}

void WizardSteps::previousStep()
{
    if (m_currentStep != WizardStep::Basics)
        goToStep(static_cast<WizardStep>(static_cast<int>(m_currentStep) - 1));
}

void WizardSteps::goToStep(WizardStep step)
{
    if (step == m_currentStep)
        return;
    m_currentStep = step;
    Q_EMIT currentStepChanged();
}

QStringList WizardSteps::messagesAbout(std::initializer_list<ValidationError> kinds) const
{
    QStringList messages;
    for (ValidationError error : m_validationErrors) {
        if (std::find(kinds.begin(), kinds.end(), error) != kinds.end())
            messages.append(WizardDraft::message(error));
    }
    return messages;
}

QStringList WizardSteps::validationMessages() const
{
    QStringList messages;
    for (ValidationError error : m_validationErrors)
        messages.append(WizardDraft::message(error));
    return messages;
}

QStringList WizardSteps::appNameMessages() const
{
    return messagesAbout({ValidationError::EmptyAppName, ValidationError::InvalidAppName, ValidationError::AppNameTooLong});
}

QStringList WizardSteps::appURLMessages() const
{
    return messagesAbout({ValidationError::EmptyAppURL, ValidationError::InvalidURL});
}
