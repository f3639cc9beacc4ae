import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

Page {
    id: page
    objectName: "wizardPage"
    property AppCreationWizardStore wizard
    property AppSuggestionsStore suggestions
    signal closed()

    header: ToolBar {
        RowLayout {
            anchors.fill: parent
            Button { text: qsTr("Cancel"); onClicked: page.closed() }
            Label { text: page.wizard && page.wizard.isEditing ? qsTr("Edit App") : qsTr("New App") }
        }
    }
}
