#!/usr/bin/env bash
# Makes the files in stores/ anew with programs from Debian: mariadb-server, python3-dbf, faketime, magic, python3-pil,
# fp-utils, clang-14 and lld-14.
# Other versions of the programs write other bytes; then see what tests/stores/StoreFilesTest.cpp asks of them.
set -euo pipefail
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/stores
mkdir -p "$folder"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# A table of MyISAM: its definition and its index.
mkdir database temporary
mariadbd --no-defaults --datadir="$work/database" --tmpdir="$work/temporary" --user="$(id -un)" --bootstrap \
  --skip-grant-tables >&2 <<'SQL'
create database store;
use store;
create table t (id int primary key, name varchar(40), key(name)) engine=MyISAM;
insert into t values (1,'a'),(2,'b'),(3,'c');
SQL
install -m 644 database/store/t.frm "$folder/table.frm"
install -m 644 database/store/t.MYI "$folder/table.myi"

# A table of Visual FoxPro, of the only date that is found.
faketime '2015-07-03 12:00:00' /usr/bin/python3 - <<'PY'
import dbf
table = dbf.Table("customers.dbf", "name C(20); city C(12); paid N(8,2)", dbf_type="vfp")
table.open(mode=dbf.READ_WRITE)
for i in range(60):
    table.append(("Customer %d" % i, "Town %d" % (i % 7), i * 1.25))
table.close()
PY
cp customers.dbf "$folder"

# A layout.
magic -dnull -noconsole >&2 <<'TCL'
tech load scmos
load inverter
box 0 0 10 4
paint metal1
box 0 10 10 14
paint polysilicon
gds write cell.gds
quit -noprompt
TCL
cp cell.gds "$folder"

# A colour profile.
/usr/bin/python3 - <<'PY'
from PIL import ImageCms
open("srgb.icc", "wb").write(ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes())
PY
cp srgb.icc "$folder"

# Help.
cat >help.hhp <<'HHP'
[OPTIONS]
Compiled file=help.chm
Contents file=contents.hhc
Default topic=page.html
Title=Help
[FILES]
page.html
HHP
echo '<html><head><title>Page</title></head><body><p>Help.</p></body></html>' >page.html
cat >contents.hhc <<'HHC'
<html><body><ul><li><object type="text/sitemap"><param name="Name" value="Page">
<param name="Local" value="page.html"></object></ul></body></html>
HHC
chmcmd help.hhp >&2
cp help.chm "$folder"

# The beginning of a file of debugging information.
echo 'int start(void) { return 7; }' >program.c
clang-14 --target=x86_64-pc-windows-msvc -g -gcodeview -c program.c -o program.obj
lld-link-14 /debug /entry:start /subsystem:console /nodefaultlib /pdb:program.pdb /out:program.exe program.obj
head -c 512 program.pdb >"$folder/program.pdb"
ls -l "$folder"
