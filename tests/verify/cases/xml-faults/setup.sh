cd etc/JovApplication/module
head -c 2000000 /dev/zero | tr '\0' ' ' >> large/config.xml
{ echo '<config>'; printf '%100000s' | sed 's/ /<a>/g'; } > deep/config.xml
rm pipe/config.xml folder/config.xml
mkfifo pipe/config.xml
mkdir folder/config.xml
