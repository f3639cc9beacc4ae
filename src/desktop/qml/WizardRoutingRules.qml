import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

// Where the app's links open: rules tried from the top, and where the rest goes.
// objectNames: routingRules, rulePattern:<row>, ruleDestination:<row>, ruleUpButton:<row>,
// ruleRemoveButton:<row>, addRuleButton, addSeveralRulesButton, defaultDestinationBox,
// severalRulesDialog, severalRulesField, severalRulesDestinationBox, severalRulesAddButton
ColumnLayout {
    id: rules
    objectName: "routingRules"
    property AppCreationWizardStore wizard
    readonly property RoutingRulesModel model: wizard ? wizard.draft.routingRules : null
    readonly property DestinationChoicesModel destinations: wizard ? wizard.draft.destinations : null
    spacing: 6

    Label {
        text: qsTr("Rules apply top-down — first match wins")
        opacity: 0.7
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
    }
    Repeater {
        id: ruleRepeater
        model: rules.model
        delegate: RowLayout {
            required property int index
            required property string pattern
            required property var chosenDestination
            Layout.fillWidth: true
            TextField {
                objectName: "rulePattern:" + index
                text: pattern
                placeholderText: qsTr("*.example.com")
                Layout.fillWidth: true
                Accessible.name: qsTr("Pattern of rule %1").arg(index + 1)
                onTextEdited: rules.model.setPattern(index, text)
            }
            ComboBox {
                implicitContentWidthPolicy: ComboBox.WidestText
                objectName: "ruleDestination:" + index
                model: rules.destinations
                textRole: "label"
                currentIndex: rules.destinations ? rules.destinations.indexOf(chosenDestination) : -1
                Layout.preferredWidth: implicitWidth
                Accessible.name: qsTr("Where links of rule %1 open").arg(index + 1)
                onActivated: row => rules.model.sendTo(index, rules.destinations.destinationAt(row))
            }
            Button {
                objectName: "ruleUpButton:" + index
                text: "↑"
                Layout.preferredWidth: implicitHeight * 1.5
                enabled: index > 0
                Accessible.name: qsTr("Move rule %1 up").arg(index + 1)
                onClicked: rules.model.moveRule(index, index - 1)
            }
            Button {
                objectName: "ruleRemoveButton:" + index
                text: qsTr("Remove")
                Accessible.name: qsTr("Remove rule %1").arg(index + 1)
                onClicked: rules.model.removeRule(index)
            }
        }
    }
    RowLayout {
        Button {
            objectName: "addRuleButton"
            text: qsTr("Add Rule")
            Accessible.name: text
            onClicked: rules.model.addRule("", WizardRoutingRule.Allow, rules.destinations.destinationAt(0))
        }
        Button {
            objectName: "addSeveralRulesButton"
            text: qsTr("Add several rules…")
            Accessible.name: qsTr("Add several rules")
            onClicked: severalDialog.open()
        }
    }
    RowLayout {
        Label { text: qsTr("Links that match no rule") }
        ComboBox {
            implicitContentWidthPolicy: ComboBox.WidestText
            objectName: "defaultDestinationBox"
            model: rules.destinations
            textRole: "label"
            currentIndex: rules.wizard && rules.destinations
                          ? rules.destinations.indexOf(rules.wizard.draft.defaultRouteDestination) : -1
            Layout.preferredWidth: implicitWidth
            Accessible.name: qsTr("Where links that match no rule open")
            onActivated: row => rules.wizard.draft.defaultRouteDestination = rules.destinations.destinationAt(row)
        }
    }

    Dialog {
        id: severalDialog
        objectName: "severalRulesDialog"
        title: qsTr("Add several rules")
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        width: Math.min(parent ? parent.width - 40 : 520, 520)
        onOpened: {
            severalField.text = ""
            severalField.forceActiveFocus()
        }

        ColumnLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            Label {
                text: qsTr("One domain or pattern per line (commas and spaces work too). Every rule gets the destination below.")
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            ScrollView {
                Layout.fillWidth: true
                Layout.preferredHeight: severalField.font.pixelSize * 10
                TextArea {
                    id: severalField
                    objectName: "severalRulesField"
                    placeholderText: "mail.example.com\n*.example.org"
                    wrapMode: TextEdit.NoWrap
                    Accessible.name: qsTr("Domains or patterns")
                    // Tab moves on instead of typing a tab character.
                    KeyNavigation.priority: KeyNavigation.BeforeItem
                    KeyNavigation.tab: severalDestination
                }
            }
            RowLayout {
                Label { text: qsTr("Open in") }
                ComboBox {
                    implicitContentWidthPolicy: ComboBox.WidestText
                    id: severalDestination
                    objectName: "severalRulesDestinationBox"
                    model: rules.destinations
                    textRole: "label"
                    Layout.fillWidth: true
                    Accessible.name: qsTr("Where the new rules' links open")
                }
            }
        }
        footer: DialogButtonBox {
            Button {
                objectName: "severalRulesCancelButton"
                text: qsTr("Cancel")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
            Button {
                objectName: "severalRulesAddButton"
                text: qsTr("Add Rules")
                enabled: severalField.text.trim() !== ""
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
        onAccepted: rules.model.addSeveralRules(severalField.text,
                                                rules.destinations.destinationAt(severalDestination.currentIndex))
    }
}
