use strict;
my $size = 1000000;
my @a;
my $total = 0;
for my $round (1 .. $ARGV[0]) {
    for my $i (1 .. $size) {
        $a[$i] = 1;
    }
    for my $i (2 .. 1000) {
        if ($a[$i]) {
            for (my $j = $i * $i; $j <= $size; $j += $i) {
                $a[$j] = 0;
            }
        }
    }
    for my $i (1 .. $size) {
        $total += $a[$i];
    }
}
print "$total\n";
