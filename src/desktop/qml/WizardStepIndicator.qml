import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Where the wizard stands: the four steps by name, the current one marked.
// objectNames: step:<index> (one label per step)
RowLayout {
    id: indicator
    property int currentStep: 0
    readonly property var stepNames: [qsTr("Basics"), qsTr("Browser"), qsTr("Settings"), qsTr("Review")]
    spacing: 4
    Accessible.role: Accessible.StatusBar
    Accessible.name: qsTr("Step %1 of %2: %3").arg(currentStep + 1).arg(stepNames.length).arg(stepNames[currentStep])

    Repeater {
        model: indicator.stepNames
        delegate: RowLayout {
            required property int index
            required property string modelData
            spacing: 4
            Label {
                visible: index > 0
                text: "›"
                opacity: 0.5
            }
            Label {
                objectName: "step:" + index
                text: (index + 1) + " " + modelData
                font.bold: index === indicator.currentStep
                opacity: index <= indicator.currentStep ? 1 : 0.55
                padding: 4
                background: Rectangle {
                    visible: index === indicator.currentStep
                    color: indicator.palette.highlight
                    opacity: 0.25
                    radius: height / 2
                }
            }
        }
    }
}
