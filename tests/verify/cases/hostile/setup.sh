cd usr/lib/JovApplication
cp a "$(printf 'two\nlines')"
cp a "$(printf 'red\033[31m')"
cp a "%1 %2 'quoted'"
ln -s ../../../etc/JovApplication/module/a/config.xml loop.lnk
rm ../../../etc/JovApplication/module/a/config.xml
ln -s config.xml ../../../etc/JovApplication/module/a/config.xml
mkfifo ../../../etc/JovApplication/platform.ini
