#include "SimulatorTexts.h"

#include "l10n/L10n.h"

#include <QHash>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

// Built once, on first use, and only read afterwards.
const QHash<QString, QString>& english()
{
    // clang-format off
    static const QHash<QString, QString> table{
        {u"Tuckaway · escritorio simulado"_s, u"Tuckaway · simulated desktop"_s},
        {u"Tuckaway · sesión sin pantalla en el escritorio simulado"_s, u"Tuckaway · session without a display on the simulated desktop"_s},
        {u"Pantalla %1 · principal · %2"_s, u"Screen %1 · primary · %2"_s},
        {u"Pantalla %1 · %2"_s, u"Screen %1 · %2"_s},
        {u"Este escritorio no tiene pantallas."_s, u"This desktop has no screens."_s},
        {u"fuera de la pantalla"_s, u"off screen"_s},
        {u"Suelta el icono en la barra de la pantalla principal: es la que muestra los iconos. Ha vuelto a su sitio."_s, u"Drop the icon on the primary screen's menu bar: that is the one that shows the icons. It went back to its place."_s},
        {u"El icono de Tuckaway no sale de la barra de menús: ha vuelto a su sitio."_s, u"Tuckaway's icon does not leave the menu bar: it went back to its place."_s},
        {u"Apps abiertas"_s, u"Running apps"_s},
        {u"Motivo"_s, u"Reason"_s},
        {u"No se ve"_s, u"Cannot be seen"_s},
        {u"Salir de la app elegida"_s, u"Quit the selected app"_s},
        {u"Abrir"_s, u"Launch"_s},
        {u"Apps abiertas: %1."_s, u"Apps launched: %1."_s},
        {u"Se abren como mucho %1 apps a la vez: se han abierto %1."_s, u"At most %1 apps are launched at once: %1 were launched."_s},
        {u"Elige antes una app de la lista."_s, u"Select an app in the list first."_s},
        {u"Tuckaway no se cierra desde este panel: elige «Salir de Tuckaway» en su menú (clic derecho en su icono). Al salir, todos los iconos ocultos vuelven a la barra."_s, u"Tuckaway is not quit from this panel: choose “Quit Tuckaway” in its menu (right-click its icon). When it quits, every hidden icon comes back to the menu bar."_s},
        {u"%1 se ha cerrado."_s, u"%1 has quit."_s},
        {u"Esa app ya no está abierta."_s, u"That app is no longer running."_s},
        {u"(sin nombre)"_s, u"(no name)"_s},
        {u"esta app"_s, u"this app"_s},
        {u"al frente"_s, u"frontmost"_s},
        {u"Poner al frente"_s, u"Bring to front"_s},
        {u"Tuckaway no tiene menús: no se pone al frente."_s, u"Tuckaway has no menus: it is not brought to front."_s},
        {u"Permiso de Accesibilidad"_s, u"Accessibility permission"_s},
        {u"Concedido a esta copia de Tuckaway"_s, u"Granted to this copy of Tuckaway"_s},
        {u"Tuckaway ha pedido el permiso de Accesibilidad: en un Mac el sistema mostraría su aviso. Concédelo en este panel."_s, u"Tuckaway asked for the Accessibility permission: on a Mac the system would show its prompt. Grant it in this panel."_s},
        {u"Marco privado de visibilidad"_s, u"Private visibility framework"_s},
        {u"Presente: concede la ocultación"_s, u"Present: grants the hiding"_s},
        {u"Ausente"_s, u"Absent"_s},
        {u"Presente: responde con un error"_s, u"Present: answers with an error"_s},
        {u"Presente: lanza una excepción"_s, u"Present: raises an exception"_s},
        {u"Presente: no responde"_s, u"Present: never answers"_s},
        {u"En su icono: clic para ocultar o mostrar; clic derecho o Alt-clic para el menú; Ctrl-arrastrar (⌘ en un Mac) para moverlo."_s, u"On its icon: click to hide or show; right-click or Alt-click for the menu; Ctrl-drag (⌘ on a Mac) to move it."_s},
        {u"Poner su icono en el extremo derecho"_s, u"Put its icon at the right end"_s},
        {u"El icono de Tuckaway está en el extremo derecho de la barra. Colócalo arrastrándolo con Ctrl (⌘ en un Mac)."_s, u"Tuckaway's icon is at the right end of the menu bar. Place it by dragging it with Ctrl (⌘ on a Mac)."_s},
        {u"%1 elementos no caben en la barra de la pantalla principal: se dibujan a su izquierda, fuera de la pantalla."_s, u"%1 items do not fit in the primary screen's menu bar: they are drawn to its left, off screen."_s},
        {u"El icono de Tuckaway es uno de ellos: arrástralo con Ctrl (⌘ en un Mac) de vuelta a la barra o ponlo en el extremo derecho."_s, u"Tuckaway's icon is one of them: drag it back onto the bar with Ctrl (⌘ on a Mac) or put it at the right end."_s},
        {u"Icono"_s, u"Icon"_s},
        {u"Estado"_s, u"Status"_s},
        {u"Aviso"_s, u"Notice"_s},
        {u"Menú"_s, u"Menu"_s},
        {u"Menú del icono abierto: %1"_s, u"Icon's menu open: %1"_s},
        {u"Menú del icono cerrado."_s, u"Icon's menu closed."_s},
        {u"Abrir %1"_s, u"Open %1"_s},
        {u"Salir de %1"_s, u"Quit %1"_s},
        {u"Apps ocultas"_s, u"Hidden apps"_s},
        {u"Ninguna app oculta."_s, u"No app is hidden."_s},
        {u"Imagen guardada: %1"_s, u"Picture saved: %1"_s},
        {u"Fin de la sesión."_s, u"End of the session."_s},
        {u"Imágenes de la barra de menús en %1"_s, u"Pictures of the menu bar in %1"_s},
        {u"Atajo"_s, u"Shortcut"_s},
        {u"Órdenes de control: escuchando en %1"_s, u"Control commands: listening on %1"_s},
        {u"Órdenes de control: otra copia de Tuckaway las atiende."_s, u"Control commands: another copy of Tuckaway answers them."_s},
        {u"Órdenes de control: cerrado."_s, u"Control commands: closed."_s},
        {u"Orden de control: %1"_s, u"Control command: %1"_s},
        {u"Sistema"_s, u"System"_s},
        {u"Pulsar el atajo"_s, u"Press the shortcut"_s},
        {u"Dormir las pantallas"_s, u"Put the screens to sleep"_s},
        {u"Cambiar las pantallas"_s, u"Change the screens"_s},
        {u"Reabrir Tuckaway"_s, u"Re-open Tuckaway"_s},
        {u"Abrir otra copia"_s, u"Start a second copy"_s},
        {u"Pantallas: %1"_s, u"Screens: %1"_s},
        {u"ninguna"_s, u"none"_s},
        {u"Como al empezar"_s, u"As at the start"_s},
        {u"Ninguna pantalla"_s, u"No screen"_s},
        {u"Ninguna pantalla: la barra de menús, y con ella el icono de Tuckaway, no está en ninguna parte hasta que vuelva una."_s, u"No screen: the menu bar, and Tuckaway's icon with it, is nowhere until one comes back."_s},
        {u"Inicio de sesión según el sistema: %1"_s, u"Login item as the system has it: %1"_s},
        {u"Ajustes del Sistema · Elementos de inicio"_s, u"System Settings · Login Items"_s},
        {u"Tuckaway puede abrirse al iniciar sesión"_s, u"Tuckaway may open at login"_s},
        {u"Según el sistema: %1"_s, u"As the system has it: %1"_s},
        {u"activado"_s, u"enabled"_s},
        {u"requiere aprobación"_s, u"requires approval"_s},
        {u"no registrado"_s, u"not registered"_s},
        {u"no encontrado"_s, u"not found"_s},
        {u"No hay ningún atajo registrado: la pulsación no llega a Tuckaway."_s, u"No shortcut is registered: the press does not reach Tuckaway."_s},
        {u"También ha respondido al atajo: %1."_s, u"Also answered the shortcut: %1."_s},
        {u"La pulsación no llega a Tuckaway: %1 tiene el atajo en exclusiva."_s, u"The press does not reach Tuckaway: %1 holds the shortcut exclusively."_s},
        {u"Otra copia de Tuckaway ha traído al frente la que ya estaba abierta y ha salido."_s, u"A second copy of Tuckaway brought the running one forward and quit."_s},
        {u"Otra copia de Tuckaway no ha encontrado esta, que no tiene identificador de bundle, y se ha abierto a su lado; el escritorio simulado la cierra enseguida."_s, u"A second copy of Tuckaway did not find this one, which has no bundle identifier, and started beside it; the simulated desktop ends it at once."_s},
    };
    // clang-format on
    return table;
}

} // namespace

QString SimulatorTexts::text(const QString& spanish, const QString& language)
{
    if (language == u"en"_s) {
        const auto found = english().constFind(spanish);
        if (found != english().constEnd())
            return *found;
    }
    return L10n::text(spanish, language);
}

} // namespace tk
