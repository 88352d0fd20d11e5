rm -r usr
