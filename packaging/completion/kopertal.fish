# fish completion for kopertal

complete -c kopertal -n __fish_use_subcommand -l version -d 'pokaż wersję'
complete -c kopertal -s h -l help -f -d 'pokaż pomoc'
complete -c kopertal -l verbose -d 'opisuj przebieg pracy'

complete -c kopertal -n __fish_use_subcommand -a generate -d 'tworzy wypełnioną książkę nadawczą'
complete -c kopertal -n __fish_use_subcommand -a serve -d 'odbiera zdjęcia z telefonu'
complete -c kopertal -n __fish_use_subcommand -a scan -d 'odczytuje numery ze zdjęć'
complete -c kopertal -n __fish_use_subcommand -a track -d 'pyta o status przesyłek'

set -l generate '__fish_seen_subcommand_from generate'
complete -c kopertal -n $generate -s o -x -a '(__fish_complete_directories)' -d 'zapisz w folderze'
complete -c kopertal -n $generate -l output -r -d 'zapisz dokładnie jako ten plik'
complete -c kopertal -n $generate -l sender-name -x -d nadawca
complete -c kopertal -n $generate -l sender-address -x -d 'adres nadawcy'
complete -c kopertal -n $generate -l template -r -d 'użyj własnego szablonu'
complete -c kopertal -n $generate -l json -d 'wypisz wynik jako JSON'

complete -c kopertal -n '__fish_seen_subcommand_from scan' -l json -d 'wypisz wynik jako JSON'

set -l serve '__fish_seen_subcommand_from serve'
complete -c kopertal -n $serve -f
complete -c kopertal -n $serve -l port -x -d 'port serwera'
complete -c kopertal -n $serve -l save-photos -x -a '(__fish_complete_directories)' -d 'zapisuj zdjęcia w folderze'

complete -c kopertal -n '__fish_seen_subcommand_from track' -f
complete -c kopertal -n '__fish_seen_subcommand_from track' -l json -d 'wypisz wynik jako JSON'
