import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Sorvane.Frontend

Page {
    id: page
    objectName: "homeScreen"
    required property HomescreenStore home
    signal settingsRequested()

    header: ToolBar {
        RowLayout {
            anchors.fill: parent
            Label { text: qsTr("Your apps"); font.bold: true; Layout.leftMargin: 12 }
            Item { Layout.fillWidth: true }
            Button { objectName: "newAppButton"; text: qsTr("New App"); onClicked: page.home.newApp() }
            Button { objectName: "settingsButton"; text: qsTr("Settings"); onClicked: page.settingsRequested() }
        }
    }

    ListView {
        anchors.fill: parent
        model: page.home.filteredApps
        delegate: ItemDelegate { required property string name; text: name; width: ListView.view.width }
    }
}
