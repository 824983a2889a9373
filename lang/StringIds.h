// Numbers of the library's string resources. The texts are in strings.txt.
#pragma once

// Exceptions (CMirvaExcepcio).
#define IDS_EXCEPCIO_MEMORIA 18000
#define IDS_EXCEPCIO_NO_SUPORTAT 18001
#define IDS_EXCEPCIO 18002
#define IDS_EXCEPCIO_MISSATGE 18003

// Units: four of each kind, in the order of TipusUnitats.
#define IDS_UNITATS_NOM 20350
#define IDS_UNITATS_ABR 20354
#define IDS_UNITATS_MENU 20358

// What a language module says about itself.
#define IDS_IDIOMA_NUMERO 29997
#define IDS_IDIOMA_NOM 29998
#define IDS_IDIOMA_CLAU 29999
