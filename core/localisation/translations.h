#pragma once

#include <string_view>

namespace kvillo {

// One row of the translation table: the Norwegian source text, which is the
// key, and its English, Spanish and French texts with the same placeholders
// ("%@" a text, "%d" an integer, "%%" a percent sign) in the same order.
struct Translation {
    std::string_view key;
    std::string_view en;
    std::string_view es;
    std::string_view fr;
};

// Every user-visible text, in the order it was written. Visible to the
// compiler so that L10n::Key can find a key's row while compiling.
inline constexpr Translation kTranslations[] = {
    // Menu
    {"Oversikt", "Overview", "Resumen", "Vue d’ensemble"},
    {"Prosjekter", "Projects", "Proyectos", "Projets"},
    {"Funksjoner", "Features", "Funciones", "Fonctionnalités"},
    {"Innstillinger", "Settings", "Configuración", "Paramètres"},
    {"Avslutt Kvillo", "Quit Kvillo", "Salir de Kvillo", "Quitter Kvillo"},
    {"Logging er slått av", "Logging is off", "El registro está desactivado",
     "Le suivi est désactivé"},
    {"Slå på", "Turn on", "Activar", "Activer"},
    {"I dag %@", "Today %@", "Hoy %@", "Aujourd’hui %@"},
    {"Pause", "Paused", "En pausa", "En pause"},
    {"Jobber med", "Working on", "Trabajando en", "En cours"},
    {"Hva jobber du med?", "What are you working on?", "¿En qué estás trabajando?",
     "Sur quoi travaillez-vous ?"},
    {"Endre prosjekt og oppgave", "Change project and task", "Cambiar proyecto y tarea",
     "Changer de projet et de tâche"},
    {"Avslutt oppgaven", "End task", "Finalizar tarea", "Terminer la tâche"},
    {"Fortsett logging", "Resume logging", "Reanudar el registro", "Reprendre le suivi"},
    {"Sett logging på pause", "Pause logging", "Pausar el registro", "Mettre le suivi en pause"},
    {"Prosjekter i dag", "Projects today", "Proyectos de hoy", "Projets du jour"},
    {"Apper i dag", "Apps today", "Aplicaciones de hoy", "Applications du jour"},
    {"Ingenting logget ennå", "Nothing logged yet", "Aún no hay nada registrado",
     "Rien n’a encore été enregistré"},
    {"Last ned oppdatering %@", "Download update %@", "Descargar actualización %@",
     "Télécharger la mise à jour %@"},
    {"Installer oppdatering", "Install update", "Instalar actualización",
     "Installer la mise à jour"},
    {"Prosjekt", "Project", "Proyecto", "Projet"},
    {"Uten prosjekt", "No project", "Sin proyecto", "Sans projet"},
    {"Oppgave, f.eks. Kraftnod-integrasjon", "Task, e.g. API integration",
     "Tarea, p. ej. integración de API", "Tâche, p. ex. intégration d’API"},
    {"nå", "now", "ahora", "maintenant"},
    {"Avbryt", "Cancel", "Cancelar", "Annuler"},
    {"Start", "Start", "Iniciar", "Démarrer"},

    // Overview
    {"Aktiv tid", "Active time", "Tiempo activo", "Temps actif"},
    {"Fokustid", "Focus time", "Tiempo de enfoque", "Temps de concentration"},
    {"Tid per dag", "Time per day", "Tiempo por día", "Temps par jour"},
    {"Apper", "Apps", "Aplicaciones", "Applications"},
    {"Lag et prosjekt under Prosjekter for å se tid per prosjekt.",
     "Create a project under Projects to see time per project.",
     "Crea un proyecto en Proyectos para ver el tiempo por proyecto.",
     "Créez un projet dans Projets pour voir le temps par projet."},
    {"Ingenting logget i denne perioden.", "Nothing logged in this period.",
     "No hay nada registrado en este periodo.", "Rien n’a été enregistré pendant cette période."},
    {"Jobbet med", "Worked on", "Trabajado en", "Travaux"},
    {"Ingen oppgaver i denne perioden.", "No tasks in this period.",
     "No hay tareas en este periodo.", "Aucune tâche pendant cette période."},
    {"%d oppgaver · %@", "%d tasks · %@", "%d tareas · %@", "%d tâches · %@"},
    {"%d økter", "%d sessions", "%d sesiones", "%d sessions"},
    {"Uke %d · %@ – %@", "Week %d · %@ – %@", "Semana %d · %@ – %@", "Semaine %d · %@ – %@"},
    {"Dag", "Day", "Día", "Jour"},
    {"Uke", "Week", "Semana", "Semaine"},
    {"Måned", "Month", "Mes", "Mois"},

    // Overview: focus time
    {"Fokustid er sammenhengende arbeid i minst 25 minutter, uten pauser på over 2 minutter. Korte "
     "bytter mellom apper er greit, men lengre avbrudd avslutter økten. Mye fokustid betyr som "
     "regel at du har fått gjort dypt arbeid; lite kan bety mange avbrytelser, møter eller "
     "meldinger.",
     "Focus time is uninterrupted work of at least 25 minutes, with no breaks longer than 2 "
     "minutes. Quick switches between apps are fine, but longer interruptions end the session. "
     "Lots of focus time usually means you got deep work done; little can mean many interruptions, "
     "meetings or messages.",
     "El tiempo de enfoque es trabajo ininterrumpido de al menos 25 minutos, sin pausas de más de "
     "2 minutos. Los cambios rápidos entre aplicaciones no importan, pero las interrupciones más "
     "largas ponen fin a la sesión. Mucho tiempo de enfoque suele significar que has hecho trabajo "
     "profundo; poco puede indicar muchas interrupciones, reuniones o mensajes.",
     "Le temps de concentration correspond à un travail ininterrompu d’au moins 25 minutes, sans "
     "pause de plus de 2 minutes. Passer brièvement d’une application à l’autre ne pose pas de "
     "problème, mais une interruption plus longue met fin à la session. Beaucoup de temps de "
     "concentration signifie généralement que vous avez accompli un travail en profondeur ; s’il "
     "est faible, cela peut traduire de nombreuses interruptions, réunions ou messages."},
    {"%d %% av aktiv tid", "%d %% of active time", "%d %% del tiempo activo",
     "%d %% du temps actif"},
    {"som i går", "same as yesterday", "igual que ayer", "comme hier"},
    {"som forrige uke", "same as last week", "igual que la semana pasada",
     "comme la semaine dernière"},
    {"som forrige måned", "same as last month", "igual que el mes pasado", "comme le mois dernier"},
    {"%@ fra i går", "%@ from yesterday", "%@ respecto a ayer", "%@ par rapport à hier"},
    {"%@ fra forrige uke", "%@ from last week", "%@ respecto a la semana pasada",
     "%@ par rapport à la semaine dernière"},
    {"%@ fra forrige måned", "%@ from last month", "%@ respecto al mes pasado",
     "%@ par rapport au mois dernier"},
    {"Fokusøkter", "Focus sessions", "Sesiones de enfoque", "Sessions de concentration"},
    {"Lengste %@", "Longest %@", "La más larga %@", "La plus longue %@"},
    {"Ingen økter på minst 25 minutter i denne perioden. Prøv å sette av en bolk uten meldinger og "
     "møter.",
     "No sessions of 25 minutes or more in this period. Try setting aside a block without messages "
     "and meetings.",
     "No hay sesiones de 25 minutos o más en este periodo. Prueba a reservar un bloque sin "
     "mensajes ni reuniones.",
     "Aucune session de 25 minutes ou plus pendant cette période. Essayez de réserver un créneau "
     "sans messages ni réunions."},
    {"Vis færre", "Show less", "Mostrar menos", "Afficher moins"},
    {"Vis alle %d", "Show all %d", "Mostrar las %d", "Tout afficher (%d)"},

    // Timesheet export
    {"Eksporter timeliste", "Export timesheet", "Exportar hoja de horas",
     "Exporter la feuille de temps"},
    {"Denne måneden", "This month", "Este mes", "Ce mois-ci"},
    {"Forrige måned", "Last month", "El mes pasado", "Le mois dernier"},
    {"Dette kvartalet", "This quarter", "Este trimestre", "Ce trimestre"},
    {"Forrige kvartal", "Last quarter", "El trimestre pasado", "Le trimestre dernier"},
    {"I år", "This year", "Este año", "Cette année"},
    {"Timeliste %@ %@.csv", "Timesheet %@ %@.csv", "Hoja de horas %@ %@.csv",
     "Feuille de temps %@ %@.csv"},
    {"alle prosjekter", "all projects", "todos los proyectos", "tous les projets"},
    {"Timeliste", "Timesheet", "Hoja de horas", "Feuille de temps"},
    {"Periode", "Period", "Periodo", "Période"},
    {"Dato", "Date", "Fecha", "Date"},
    {"Navn", "Name", "Nombre", "Nom"},
    {"Prosjekt / arbeidspakke", "Project / work package", "Proyecto / paquete de trabajo",
     "Projet / lot de travaux"},
    {"Timer", "Hours", "Horas", "Heures"},
    {"Beskrivelse", "Description", "Descripción", "Description"},
    {"Sum", "Total", "Total", "Total"},
    {"Signatur prosjektdeltaker", "Signature, project member", "Firma del miembro del proyecto",
     "Signature du membre du projet"},
    {"Signatur prosjektansvarlig", "Signature, project manager",
     "Firma del responsable del proyecto", "Signature du responsable du projet"},

    // Projects
    {"Tid kobles til et prosjekt når vindustittelen eller oppgaven inneholder navnet eller et "
     "nøkkelord.",
     "Time is matched to a project when the window title or task contains its name or a keyword.",
     "El tiempo se asigna a un proyecto cuando el título de la ventana o la tarea contiene su "
     "nombre o una palabra clave.",
     "Le temps est associé à un projet lorsque le titre de la fenêtre ou la tâche contient son nom "
     "ou un mot-clé."},
    {"Nytt prosjekt", "New project", "Nuevo proyecto", "Nouveau projet"},
    {"Nøkkelord, skilt med komma", "Keywords, separated by commas",
     "Palabras clave, separadas por comas", "Mots-clés, séparés par des virgules"},
    {"Legg til", "Add", "Añadir", "Ajouter"},
    {"Du har ingen prosjekter ennå. Du kan også be Claude se på titlene dine og foreslå noen.",
     "You don’t have any projects yet. You can also ask Claude to look at your window titles and "
     "suggest some.",
     "Aún no tienes proyectos. También puedes pedirle a Claude que revise los títulos de tus "
     "ventanas y te sugiera algunos.",
     "Vous n’avez encore aucun projet. Vous pouvez aussi demander à Claude d’examiner les titres "
     "de vos fenêtres et d’en proposer quelques-uns."},
    {"Denne måneden %@", "This month %@", "Este mes %@", "Ce mois-ci %@"},
    {"Slett prosjektet", "Delete project", "Eliminar proyecto", "Supprimer le projet"},
    {"Nøkkelord", "Keywords", "Palabras clave", "Mots-clés"},
    {"f.eks. Kraftnod, skarvelin-web", "e.g. Acme, acme-web", "p. ej. Acme, acme-web",
     "p. ex. Acme, acme-web"},
    {"Lagre", "Save", "Guardar", "Enregistrer"},
    {"Slette %@?", "Delete %@?", "¿Eliminar %@?", "Supprimer %@ ?"},
    {"Slett", "Delete", "Eliminar", "Supprimer"},
    {"Loggen din slettes ikke, men tiden kobles ikke lenger til prosjektet.",
     "Your log isn’t deleted, but time is no longer matched to the project.",
     "Tu registro no se elimina, pero el tiempo deja de asignarse al proyecto.",
     "Votre historique n’est pas supprimé, mais le temps n’est plus associé au projet."},

    // Features
    {"Velg hva Kvillo skal gjøre. Menyen og oversikten viser bare det som er slått på.",
     "Choose what Kvillo does. The menu and overview only show what’s turned on.",
     "Elige qué hace Kvillo. El menú y el resumen solo muestran lo que está activado.",
     "Choisissez ce que fait Kvillo. Le menu et la vue d’ensemble n’affichent que ce qui est "
     "activé."},
    {"Logging", "Logging", "Registro", "Suivi"},
    {"Arbeid", "Work", "Trabajo", "Travail"},
    {"AI", "AI", "IA", "IA"},
    {"Aktivitetslogging", "Activity logging", "Registro de actividad", "Suivi de l’activité"},
    {"Logger hvilke apper du bruker og hvor lenge", "Logs which apps you use and for how long",
     "Registra qué aplicaciones usas y durante cuánto tiempo",
     "Enregistre les applications que vous utilisez et pendant combien de temps"},
    {"Vindustitler", "Window titles", "Títulos de ventana", "Titres des fenêtres"},
    {"Leser titler som filnavn og nettsider. Krever tilgang i Systeminnstillinger",
     "Reads titles such as file names and web pages. Requires access in System Settings",
     "Lee títulos como nombres de archivo y páginas web. Requiere acceso en la configuración del "
     "sistema",
     "Lit des titres tels que les noms de fichiers et les pages web. Nécessite un accès dans les "
     "paramètres du système"},
    {"Registrer når du er borte", "Detect when you’re away", "Detectar cuando te ausentas",
     "Détecter votre absence"},
    {"Slutter å telle når du ikke har brukt tastatur eller mus på en stund",
     "Stops counting when you haven’t used the keyboard or mouse for a while",
     "Deja de contar cuando llevas un rato sin usar el teclado ni el ratón",
     "Arrête de compter lorsque vous n’avez utilisé ni le clavier ni la souris depuis un moment"},
    {"Skriv hva du jobber med fra menyen, med tidtaker",
     "Note what you’re working on from the menu, with a timer",
     "Anota en qué estás trabajando desde el menú, con un temporizador",
     "Notez sur quoi vous travaillez depuis le menu, avec un minuteur"},
    {"Varsle når du bytter prosjekt", "Notify when you switch project",
     "Avisar al cambiar de proyecto", "Avertir lors d’un changement de projet"},
    {"Spør om du vil bytte oppgave når du har jobbet med et annet prosjekt i 5 minutter",
     "Asks whether to switch task when you’ve worked on another project for 5 minutes",
     "Pregunta si quieres cambiar de tarea cuando llevas 5 minutos trabajando en otro proyecto",
     "Demande si vous voulez changer de tâche lorsque vous travaillez sur un autre projet depuis 5 "
     "minutes"},
    {"Kobler tid til prosjekter ut fra nøkkelord", "Matches time to projects using keywords",
     "Asigna el tiempo a los proyectos mediante palabras clave",
     "Associe le temps aux projets à l’aide de mots-clés"},
    {"Finner lengre perioder med sammenhengende arbeid",
     "Finds longer stretches of uninterrupted work",
     "Detecta periodos más largos de trabajo ininterrumpido",
     "Repère les plages plus longues de travail ininterrompu"},
    {"Timelister og eksport", "Timesheets and export", "Hojas de horas y exportación",
     "Feuilles de temps et exportation"},
    {"Eksporter prosjekter som timelister med dato, timer og beskrivelse – klar for "
     "prosjektregnskap og SkatteFUNN",
     "Export projects as timesheets with date, hours and description – ready for project "
     "accounting and R&D tax credits",
     "Exporta proyectos como hojas de horas con fecha, horas y descripción – listas para la "
     "contabilidad de proyectos y las deducciones fiscales por I+D",
     "Exporte les projets sous forme de feuilles de temps avec date, heures et description – "
     "prêtes pour la comptabilité de projet et le crédit d’impôt recherche"},
    {"Claude og andre AI-verktøy", "Claude and other AI tools", "Claude y otras herramientas de IA",
     "Claude et autres outils d’IA"},
    {"Gir AI-assistenten tilgang til dataene dine via MCP",
     "Gives your AI assistant access to your data via MCP",
     "Da a tu asistente de IA acceso a tus datos mediante MCP",
     "Donne à votre assistant d’IA l’accès à vos données via MCP"},
    {"Claude Code-kobling", "Claude Code link", "Conexión con Claude Code",
     "Connexion à Claude Code"},
    {"Registrerer mappen du jobber i som oppgave",
     "Records the folder you’re working in as your task",
     "Registra la carpeta en la que trabajas como tu tarea",
     "Enregistre le dossier dans lequel vous travaillez comme tâche"},
    {"Kvillo lagrer alt lokalt på denne maskinen.", "Kvillo stores everything locally on this Mac.",
     "Kvillo guarda todo localmente en este Mac.", "Kvillo stocke tout localement sur ce Mac."},

    // Settings
    {"Generelt", "General", "General", "Général"},
    {"Språk", "Language", "Idioma", "Langue"},
    {"Systemspråk", "System language", "Idioma del sistema", "Langue du système"},
    {"Start Kvillo ved innlogging", "Open Kvillo at login", "Abrir Kvillo al iniciar sesión",
     "Ouvrir Kvillo à l’ouverture de session"},
    {"Navn på timelister", "Name on timesheets", "Nombre en las hojas de horas",
     "Nom sur les feuilles de temps"},
    {"Ditt navn", "Your name", "Tu nombre", "Votre nom"},
    {"Når du er borte", "When you’re away", "Cuando te ausentas", "En cas d’absence"},
    {"Regn deg som borte etter", "Count you as away after", "Considerarte ausente tras",
     "Vous considérer comme absent après"},
    {"Avslutt oppgaven når du har vært borte", "End the task after you’ve been away for",
     "Finalizar la tarea tras una ausencia de", "Terminer la tâche après une absence de"},
    {"AI-integrasjoner", "AI integrations", "Integraciones de IA", "Intégrations d’IA"},
    {"Koble Kvillo til AI-verktøyet ditt. Start verktøyet på nytt etterpå.",
     "Connect Kvillo to your AI tool. Restart the tool afterwards.",
     "Conecta Kvillo a tu herramienta de IA. Después, reinicia la herramienta.",
     "Connectez Kvillo à votre outil d’IA. Redémarrez ensuite l’outil."},
    {"Koblet til", "Connected", "Conectado", "Connecté"},
    {"Fjern", "Remove", "Quitar", "Retirer"},
    {"Koble til", "Connect", "Conectar", "Connecter"},
    {"MCP-adresse: %@", "MCP address: %@", "Dirección MCP: %@", "Adresse MCP : %@"},
    {"Kopier", "Copy", "Copiar", "Copier"},

    // Connecting AI tools (settings page and `kvillo clients`)
    {"Ikke koblet til", "Not connected", "No conectado", "Non connecté"},
    {"Ikke installert", "Not installed", "No instalado", "Non installé"},
    {"Start %@ på nytt for at endringen skal virke.", "Restart %@ for the change to take effect.",
     "Reinicia %@ para que el cambio surta efecto.",
     "Redémarrez %@ pour que la modification prenne effet."},
    {"%@ kan ikke leses: %@", "%@ cannot be read: %@", "No se puede leer %@: %@",
     "Impossible de lire %@ : %@"},
    {"%@ kan ikke skrives: %@", "%@ cannot be written: %@", "No se puede escribir %@: %@",
     "Impossible d’écrire %@ : %@"},
    {"Kvillo endrer ikke %@, for filen er ikke et JSON-objekt.",
     "Kvillo leaves %@ alone: the file is not a JSON object.",
     "Kvillo no modifica %@: el archivo no es un objeto JSON.",
     "Kvillo ne modifie pas %@ : le fichier n’est pas un objet JSON."},
    {"Kvillo endrer ikke %@, for «%@» er ikke et objekt.",
     "Kvillo leaves %@ alone: “%@” is not an object.",
     "Kvillo no modifica %@: «%@» no es un objeto.",
     "Kvillo ne modifie pas %@ : « %@ » n’est pas un objet."},
    {"Kvillo endrer ikke %@, for «%@» er ikke en liste.",
     "Kvillo leaves %@ alone: “%@” is not a list.", "Kvillo no modifica %@: «%@» no es una lista.",
     "Kvillo ne modifie pas %@ : « %@ » n’est pas une liste."},
    {"Kvillo endrer ikke %@, for «%@» står der flere ganger.",
     "Kvillo leaves %@ alone: “%@” appears more than once.",
     "Kvillo no modifica %@: «%@» aparece más de una vez.",
     "Kvillo ne modifie pas %@ : « %@ » y figure plusieurs fois."},
    {"Legg inn dette selv under «%@»:", "Add this yourself under “%@”:",
     "Añádelo tú mismo en «%@»:", "Ajoutez ceci vous-même sous « %@ » :"},
    {"%@ mislyktes: %@", "%@ failed: %@", "%@ falló: %@", "%@ a échoué : %@"},

    // Settings: data and updates
    {"Data og oppdateringer", "Data and updates", "Datos y actualizaciones",
     "Données et mises à jour"},
    {"Åpne databasemappen", "Open database folder", "Abrir la carpeta de la base de datos",
     "Ouvrir le dossier de la base de données"},
    {"Versjon %@", "Version %@", "Versión %@", "Version %@"},
    {"Ser etter oppdateringer…", "Checking for updates…", "Buscando actualizaciones…",
     "Recherche de mises à jour…"},
    {"Last ned %@", "Download %@", "Descargar %@", "Télécharger %@"},
    {"Laster ned … %d %%", "Downloading… %d %%", "Descargando… %d %%", "Téléchargement… %d %%"},
    {"Kvillo er oppdatert", "Kvillo is up to date", "Kvillo está actualizado", "Kvillo est à jour"},
    {"Se etter oppdateringer", "Check for updates", "Buscar actualizaciones",
     "Rechercher des mises à jour"},

    // Updates: what went wrong, and where an AppImage went
    {"Får ikke kontakt med oppdateringstjenesten", "Cannot reach the update service",
     "No se puede conectar con el servicio de actualizaciones",
     "Impossible de joindre le service de mise à jour"},
    {"Oppdateringstjenestens sertifikat kan ikke godtas",
     "The update service’s certificate cannot be trusted",
     "No se puede confiar en el certificado del servicio de actualizaciones",
     "Le certificat du service de mise à jour n’est pas digne de confiance"},
    {"Oppdateringstjenesten svarte ikke i tide", "The update service did not answer in time",
     "El servicio de actualizaciones no respondió a tiempo",
     "Le service de mise à jour n’a pas répondu à temps"},
    {"Oppdateringstjenesten viste videre til en usikker adresse",
     "The update service redirected to an insecure address",
     "El servicio de actualizaciones redirigió a una dirección no segura",
     "Le service de mise à jour a redirigé vers une adresse non sécurisée"},
    {"Oppdateringstjenesten svarte med HTTP-status %d",
     "The update service answered with HTTP status %d",
     "El servicio de actualizaciones respondió con el estado HTTP %d",
     "Le service de mise à jour a répondu avec le statut HTTP %d"},
    {"Svaret fra oppdateringstjenesten kan ikke leses",
     "The update service’s answer cannot be read",
     "No se puede leer la respuesta del servicio de actualizaciones",
     "La réponse du service de mise à jour est illisible"},
    {"Nettverksfeil: %@", "Network error: %@", "Error de red: %@", "Erreur réseau : %@"},
    {"Nedlastingen stoppet opp", "The download stalled", "La descarga se detuvo",
     "Le téléchargement s’est interrompu"},
    {"Nedlasting mislyktes: %@", "Download failed: %@", "Error en la descarga: %@",
     "Échec du téléchargement : %@"},
    {"Fant ingen Linux-pakke i utgivelsen", "No Linux package found in release",
     "No se encontró ningún paquete para Linux en la versión",
     "Aucun paquet Linux trouvé dans la version"},
    {"Nedlastingen stemmer ikke med sjekksummen", "The download does not match its checksum",
     "La descarga no coincide con su suma de verificación",
     "Le téléchargement ne correspond pas à sa somme de contrôle"},
    {"Sjekksummen for nedlastingen kan ikke leses", "The download’s checksum cannot be read",
     "No se puede leer la suma de verificación de la descarga",
     "La somme de contrôle du téléchargement est illisible"},
    {"Kan ikke lagre nedlastingen i %@", "Cannot save the download in %@",
     "No se puede guardar la descarga en %@", "Impossible d’enregistrer le téléchargement dans %@"},
    {"Den nye versjonen er lagret som %@. Avslutt Kvillo og start den.",
     "The new version is saved as %@. Quit Kvillo and start it.",
     "La nueva versión se ha guardado como %@. Sal de Kvillo e iníciala.",
     "La nouvelle version est enregistrée sous %@. Quittez Kvillo et lancez-la."},

    // Switch prompt
    {"Bytt til %@", "Switch to %@", "Cambiar a %@", "Passer à %@"},
    {"Fortsett med %@", "Continue with %@", "Seguir con %@", "Continuer avec %@"},
    {"Jobber du med %@?", "Working on %@?", "¿Estás trabajando en %@?", "Vous travaillez sur %@ ?"},
    {"Du har en oppgave i gang på %@. Bytte til %@?",
     "You have a task running on %@. Switch to %@?",
     "Tienes una tarea en curso en %@. ¿Cambiar a %@?",
     "Vous avez une tâche en cours sur %@. Passer à %@ ?"},

    // What keeps Kvillo from recording or serving truthfully
    {"Loggen kan ikke skrives, så ingenting blir logget.",
     "The log cannot be written, so nothing is being logged.",
     "No se puede escribir en el registro, así que no se registra nada.",
     "Impossible d’écrire dans le journal : rien n’est enregistré."},
    {"Kvillo ser ikke hvilket program du bruker her, så ingenting blir logget.",
     "Kvillo cannot see which app you are using here, so nothing is being logged.",
     "Kvillo no ve qué aplicación usas aquí, así que no se registra nada.",
     "Kvillo ne voit pas quelle application vous utilisez ici : rien n’est enregistré."},
    {"Kvillo ser ikke når du er borte fra maskinen her.",
     "Kvillo cannot tell when you are away from the computer here.",
     "Kvillo no puede saber cuándo te alejas del ordenador aquí.",
     "Kvillo ne sait pas quand vous vous éloignez de l’ordinateur ici."},
    {"Innstillingsfilen kan ikke leses, så AI-tilgang er slått av.",
     "The settings file cannot be read, so AI access is off.",
     "No se puede leer el archivo de configuración, así que el acceso de IA está desactivado.",
     "Le fichier de paramètres est illisible : l’accès à l’IA est désactivé."},
};

}  // namespace kvillo
