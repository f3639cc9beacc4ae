#pragma once

#include "frontend/WizardDraft.h"

#include <QList>
#include <QObject>
#include <QStringList>

// Where the wizard stands among its four steps, and the draft's errors as last checked: a step
// forward is taken only from a valid step, and the messages stay beside their fields until the
// next check.
class WizardSteps final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(WizardStep currentStep READ currentStep NOTIFY currentStepChanged)
    // The current messages about the name and about the address, for beside those fields.
    Q_PROPERTY(QStringList appNameMessages READ appNameMessages NOTIFY validationErrorsChanged)
    Q_PROPERTY(QStringList appURLMessages READ appURLMessages NOTIFY validationErrorsChanged)

public:
    enum class WizardStep { Basics, Browser, Settings, Review };
    Q_ENUM(WizardStep)
    using ValidationError = WizardDraft::ValidationError;

    explicit WizardSteps(const WizardDraft &draft, QObject *parent = nullptr);

    Q_INVOKABLE bool nextStep();
    Q_INVOKABLE void previousStep();
    void goToStep(WizardStep step);
    // Checks what `step` needs (everything for the review) and publishes the errors; whether it
    // passed.
    bool check(WizardStep step);

    WizardStep currentStep() const { return m_currentStep; }
    QList<ValidationError> validationErrors() const { return m_validationErrors; }
    QStringList validationMessages() const;
    QStringList appNameMessages() const;
    QStringList appURLMessages() const;

Q_SIGNALS:
    void currentStepChanged();
    void validationErrorsChanged();

private:
    QStringList messagesAbout(std::initializer_list<ValidationError> kinds) const;

    const WizardDraft &m_draft;
    WizardStep m_currentStep = WizardStep::Basics;
    QList<ValidationError> m_validationErrors;
};
