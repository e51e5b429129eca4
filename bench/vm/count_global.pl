use strict;
our $limit = $ARGV[0] + 0;
our $i = 0;
while ($i < $limit) {
    $i = $i + 1;
}
print "$i\n";
